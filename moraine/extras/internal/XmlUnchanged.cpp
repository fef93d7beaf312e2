#include "moraine/extras/internal/XmlUnchanged.h"

#include <cstring>

#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/extras/internal/XmlScanner.h"

namespace moraine::extras {
namespace {

constexpr std::string_view predefined[] = {"&lt;", "&gt;", "&amp;", "&apos;", "&quot;"};

/// The end of a name of ASCII that begins here; the place itself if there is none.
const char* passPlainName(const char* at) {
    if (isKind(*at, nameStart)) {
        do {
            ++at;
        } while (isKind(*at, nameByte));
    }
    return at;
}

const char* passComment(const char* at, const char* end) {
    if (at[2] != '-' || at[3] != '-') {
        return nullptr;
    }
    for (at += 4;; ++at) {
        at = findStop(at, end, commentStops);
        if (end - at < 3 || *at == '&') {
            return nullptr;
        }
        if (at[1] == '-') {
            return at[2] == '>' ? at + 3 : nullptr;
        }
    }
}

const char* passStartTag(const char* at, const char* end, OpenNames& open) {
    struct {
        const char* begin;
        std::size_t length;
    } names[few];  // of the attributes
    std::size_t count = 0;
    const char* const name = ++at;
    const char* const nameEnd = at = passPlainName(at);
    if (at == name) {
        return nullptr;
    }
    for (;;) {
        const char* const white = at;
        while (isKind(*at, whiteByte)) {
            ++at;
        }
        if (*at == '>') {
            open.open({name, static_cast<std::size_t>(nameEnd - name)});
            return at + 1;
        }
        if (*at == '/') {
            return at[1] == '>' ? at + 2 : nullptr;
        }
        const char* const attribute = at;
        at = passPlainName(at);
        if (at == attribute || attribute == white || count == few) {
            return nullptr;
        }
        const auto length = static_cast<std::size_t>(at - attribute);
        for (std::size_t i = 0; i < count; ++i) {
            if (names[i].length == length && std::memcmp(names[i].begin, attribute, length) == 0) {
                return nullptr;
            }
        }
        names[count++] = {attribute, length};
        if (*at != '=' || (at[1] != '"' && at[1] != '\'')) {
            return nullptr;
        }
        const char quote = at[1];
        const char* const value = at + 2;
        at = passReferences(value, end, valueStops(quote));
        if (*at != quote || (at == value && !isKind(at[1], whiteByte))) {
            return nullptr;
        }
        ++at;
    }
}

/// The end of a tag or comment that can stay as it is; null if it cannot, is not complete at hand or is neither.
const char* passMarkup(const char* at, const char* end, OpenNames& open) {
    if (at[1] != '/') {
        return at[1] == '!' ? passComment(at, end) : passStartTag(at, end, open);
    }
    const std::string_view name = open.innermost();
    if (static_cast<std::size_t>(end - at) < name.size() + 3 || std::memcmp(at + 2, name.data(), name.size()) != 0 ||
        at[2 + name.size()] != '>') {
        return nullptr;
    }
    at += name.size() + 3;
    open.close();
    return at;
}

/// The end of a text, or of white-space that the reader drops, before a tag or comment; null if it must be
/// changed or may go on after what is at hand.
const char* passText(const char* at, const char* end, bool keepsWhite) {
    if (isKind(*at, whiteByte)) {
        at = keepsWhite ? end : findSolid(at, end);
    } else {
        at = passReferences(at, end, textStops);
    }
    const bool ends = *at == '<' && at[1] != '?' && at[1] != 0 && (at[1] != '!' || at[2] == '-');
    return ends ? at : nullptr;
}

}  // namespace

std::size_t predefinedLength(std::string_view text) {
    for (const std::string_view reference : predefined) {
        if (text.substr(0, reference.size()) == reference) {
            return reference.size();
        }
    }
    return 0;
}

std::size_t plainReferenceLength(std::string_view text) {
    if (text.substr(0, 2) != "&#") {
        return predefinedLength(text);
    }
    const bool hex = text.substr(2, 1) == "x";
    const std::size_t digits = hex ? 3 : 2;
    std::size_t at = digits;
    char32_t number = 0;
    while (at < text.size() && at < digits + 4 && digitOf(text[at], hex) >= 0) {
        number = number * (hex ? 16 : 10) + static_cast<char32_t>(digitOf(text[at], hex));
        ++at;
    }
    const bool plain = at > digits && text.substr(at, 1) == ";" && number != '&' && isXmlCharacter(number);
    return plain ? at + 1 : 0;
}

const char* passUnchanged(const char* at, const char* end, OpenNames& open, bool keepsWhite) {
    const char* good = at;
    while (at != nullptr && at != end && !open.empty()) {
        at = *at == '<' ? passMarkup(at, end, open) : passText(at, end, keepsWhite);
        good = at != nullptr ? at : good;
    }
    return good;
}

}  // namespace moraine::extras
