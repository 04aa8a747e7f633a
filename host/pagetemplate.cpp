// The page that is built in stands in an array that the build makes of its file, page/dist/template.html, or of
// nothing.

#include "pagetemplate.h"

#include <cstddef>

#include "characters.h"
#include "pagebytes.h"

static constexpr const char* TITLE_MARK = "<!--TITLE-->";
static constexpr const char* DATA_MARK = "<!--DATA-->";

std::string pagetemplate_getBuiltIn() {
    return {reinterpret_cast<const char*>(PAGE_BYTES), PAGE_LENGTH};
}

/// Where a mark stands; npos if it stands nowhere, or twice.
static size_t findMark(const std::string& page, const std::string& mark) {
    const size_t place = page.find(mark);
    const bool isTwice = place != std::string::npos && page.find(mark, place + 1) != std::string::npos;
    return isTwice ? std::string::npos : place;
}

bool pagetemplate_fill(std::string& page, const std::string& title, const std::string& data) {
    const size_t ofTitle = findMark(page, TITLE_MARK), ofData = findMark(page, DATA_MARK);
    if (ofTitle == std::string::npos || ofData == std::string::npos) {
        return false;
    }
    const std::string text = characters_escapeXml(title);
    const auto put = [&](size_t place, const std::string& mark, const std::string& content) {
        page.replace(place, mark.size(), content);
    };
    if (ofTitle < ofData) {  // what stands behind goes first: places ahead of it stay
        put(ofData, DATA_MARK, data);
        put(ofTitle, TITLE_MARK, text);
    } else {
        put(ofTitle, TITLE_MARK, text);
        put(ofData, DATA_MARK, data);
    }
    return true;
}
