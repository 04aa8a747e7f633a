// Names of files on Windows. Hosts give bytes: those that are valid UTF-8 are taken for that, as all newer programs
// have it, and all others for the code page of the process, as the older ones do. Next to no name is valid in both and
// means two things. What the system gives comes back as UTF-8, whatever the process has set. Called by the rooms of
// this folder.

#include "platform/filenames.h"

#if defined(_WIN32)

#include <windows.h>

std::wstring filenames_widen(const std::string& name) {
    const int size = static_cast<int>(name.size());
    for (const UINT page : {static_cast<UINT>(CP_UTF8), static_cast<UINT>(CP_ACP)}) {
        const DWORD how = page == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
        const int length = MultiByteToWideChar(page, how, name.data(), size, nullptr, 0);
        if (length > 0) {
            std::wstring wide(static_cast<size_t>(length), L'\0');
            MultiByteToWideChar(page, how, name.data(), size, wide.data(), length);
            return wide;
        }
    }
    return {};
}

std::string filenames_narrow(const wchar_t* name) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, name, -1, nullptr, 0, nullptr, nullptr);
    if (length <= 1) {
        return {};
    }
    std::string narrow(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, name, -1, narrow.data(), length, nullptr, nullptr);
    narrow.pop_back();  // the zero
    return narrow;
}

std::filesystem::path filenames_toPath(const std::string& name) {
    return filenames_widen(name);
}

#else

std::filesystem::path filenames_toPath(const std::string& name) {
    return name;
}

#endif
