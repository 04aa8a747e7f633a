#pragma once
// Whether a text is JSON.

#include <cctype>
#include <cstring>
#include <string>

/// A strict reader of JSON that keeps nothing.
struct JsonReader {
    const std::string& text;
    size_t at = 0;

    void skip() { at = std::min(text.find_first_not_of(" \n", at), text.size()); }
    bool take(char c) {
        skip();
        return at < text.size() && text[at] == c && ++at;
    }
    bool readText() {
        if (!take('"')) {
            return false;
        }
        for (; at < text.size() && text[at] != '"'; ++at) {
            if (static_cast<unsigned char>(text[at]) < 32) {
                return false;
            }
            at += text[at] == '\\' ? 1 : 0;
        }
        return take('"');
    }
    bool readWord() {
        const size_t end = text.find_first_not_of("+-.0123456789eEnultrfas", at);
        const bool isThere = end != at;
        at = end;
        return isThere;
    }
    bool readMembers(char close, bool hasNames) {
        if (take(close)) {
            return true;
        }
        do {
            if (hasNames && (!readText() || !take(':'))) {
                return false;
            }
            if (!readValue()) {
                return false;
            }
        } while (take(','));
        return take(close);
    }
    bool readValue() {
        skip();
        if (at >= text.size()) {
            return false;
        }
        switch (text[at]) {
            case '{': ++at; return readMembers('}', true);
            case '[': ++at; return readMembers(']', false);
            case '"': return readText();
            default: return readWord();
        }
    }
};

inline bool isJson(const std::string& text) {
    JsonReader reader{text};
    const bool isValue = reader.readValue();
    reader.skip();
    return isValue && reader.at == text.size();
}
