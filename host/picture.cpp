// A picture is known by its first bytes and by its last ones.

#include "picture.h"

#include <string_view>

#include "files.h"

PictureForm picture_getForm(const std::string& name) {
    std::string extension = files_toPath(name).extension().string();
    for (char& c : extension) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension == ".svg"   ? PictureForm::SVG
           : extension == ".png" ? PictureForm::PNG
           : extension == ".pdf" ? PictureForm::PDF
                                 : PictureForm::NONE;
}

bool picture_isWhole(PictureForm form, const std::string& bytes) {
    static constexpr std::string_view PNG_END("\0\0\0\0IEND\xAE\x42\x60\x82", 12);
    const size_t last = bytes.find_last_not_of("\r\n ");
    const std::string text = bytes.substr(0, last == std::string::npos ? 0 : last + 1);
    switch (form) {
        case PictureForm::SVG: return text.starts_with("<?xml") && text.ends_with("</svg>");
        case PictureForm::PNG: return bytes.starts_with("\x89PNG") && bytes.ends_with(PNG_END);
        case PictureForm::PDF: return bytes.starts_with("%PDF") && text.ends_with("%%EOF");
        default: return false;
    }
}
