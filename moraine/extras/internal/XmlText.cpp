#include "moraine/extras/internal/XmlText.h"

#include <algorithm>
#include <cstring>

#include "moraine/extras/internal/Conversion.h"
#include "moraine/extras/internal/XmlCharacters.h"

namespace moraine::extras {
namespace {

/// So many bytes are decoded in one go: all that the source has at hand.
constexpr std::size_t slice = 16384;

const Rules rules{[](auto unit) { return unit.notAscii() | unit.below(' '); },
                  [](Byte unit) { return unit.notAscii() | (unit.below(' ') & !unit.is('\t') & !unit.is('\n')); },
                  [](char32_t character, char* to) {
                      return character != '\r' && isXmlCharacter(character) ? putUnits(to, character) : nullptr;
                  }};

WideString hex(char32_t character) {
    WideString digits;
    for (int shift = 20; shift >= 0; shift -= 4) {
        if (shift < 16 || character >> shift != 0) {
            digits.push_back(u"0123456789ABCDEF"[(character >> shift) & 0xf]);
        }
    }
    return digits;
}

}  // namespace

bool XmlText::more() {
    if (!words.empty()) {
        return false;
    }
    if (next != 0) {
        origin.pass(bytes.get(), begin());
        std::memmove(bytes.get(), begin(), size());
        last -= next;
        next = 0;
    }
    const std::size_t before = last;
    while (last == before && words.empty()) {
        if ((source.size() == 0 || starved) && !source.read(className) && source.size() == 0) {
            break;
        }
        starved = false;
        provide(growth * std::min(source.size(), slice) + 1);
        decode();
    }
    provide(1);
    bytes[last] = 0;
    return last != before;
}

/// Makes room for so many bytes more.
void XmlText::provide(std::size_t count) {
    if (capacity - last < count) {
        const std::size_t wanted = std::max(2 * capacity, last + count);
        std::unique_ptr<char[]> larger(new char[wanted]);
        std::copy(bytes.get(), bytes.get() + last, larger.get());
        bytes = std::move(larger);
        capacity = wanted;
    }
}

void XmlText::detect() {
    while (source.size() < 4 && source.read(className)) {
    }
    const std::string_view start(source.begin(), std::min<std::size_t>(source.size(), 4));
    const auto begins = [start](std::string_view with) { return start.substr(0, with.size()) == with; };
    using namespace std::string_view_literals;
    std::size_t mark = 0;
    if (begins("\xef\xbb\xbf")) {
        mark = 3;
    } else if (begins("\xfe\xff") || begins("\0<"sv)) {
        form = XmlEncoding::utf16Big;
        mark = begins("\xfe") ? 2 : 0;
    } else if (begins("\xff\xfe") || begins("<\0"sv)) {
        form = XmlEncoding::utf16Little;
        mark = begins("\xff") ? 2 : 0;
    } else {
        undeclared = true;
    }
    certain = !undeclared;
    source.consume(mark);
}

void XmlText::goOnAs(XmlEncoding encoding) {
    form = encoding;
    undeclared = false;
}

Place XmlText::place() const {
    Place result = origin;
    result.pass(bytes.get(), begin());
    return result;
}

/// Decodes the bytes at hand, or the first of them.
void XmlText::decode() {
    const char* const from = source.begin();
    const char* end = from + std::min(source.size(), slice);
    if (undeclared) {
        const auto* const close =
            static_cast<const char*>(std::memchr(from, '>', static_cast<std::size_t>(end - from)));
        end = close == nullptr ? end : close + 1;
    }
    const char* at = nullptr;
    switch (form) {
        case XmlEncoding::utf8:
            at = decodeUtf8(from, end);
            break;
        case XmlEncoding::latin1:
        case XmlEncoding::ascii:
            at = decodeBytes(from, end);
            break;
        default:
            at = decodeUtf16(from, end);
            break;
    }
    starved = at == from;  // the start of a character is all that is there
    source.consume(static_cast<std::size_t>(at - from));
    if (starved && source.atEnd() && words.empty()) {
        refuse(form == XmlEncoding::utf8 ? u"Malformed UTF-8." : u"Malformed UTF-16.");
    }
}

const char* XmlText::decodeUtf8(const char* from, const char* end) {
    char* const start = bytes.get() + last;
    Converted at{from, start, Converted::done, 0, 0};
    for (;;) {
        if (returned && at.from != end) {
            returned = false;
            if (*at.from == '\n') {
                ++at.from;
            }
        }
        at = convertUtf8(at.from, end, at.to, rules);
        if (at.reason != Converted::illegal || at.character != '\r') {
            break;
        }
        *at.to++ = '\n';
        ++at.from;
        returned = true;
    }
    last = static_cast<std::size_t>(at.to - bytes.get());
    if (at.reason == Converted::malformed) {
        refuse(u"Malformed UTF-8.");
    } else if (at.reason == Converted::illegal) {
        refuse(at.character);
    }
    return at.from;
}

const char* XmlText::decodeBytes(const char* from, const char* end) {
    char* to = bytes.get() + last;
    for (; from != end; ++from) {
        const auto byte = static_cast<unsigned char>(*from);
        if (form == XmlEncoding::ascii && byte >= 0x80) {
            refuse(u"Malformed US-ASCII.");
            break;
        }
        char* const written = write(byte, to);
        if (written == nullptr) {
            refuse(byte);
            break;
        }
        to = written;
    }
    last = static_cast<std::size_t>(to - bytes.get());
    return from;
}

const char* XmlText::decodeUtf16(const char* from, const char* end) {
    const int high = form == XmlEncoding::utf16Big ? 0 : 1;
    const auto unitAt = [high](const char* at) {
        return static_cast<char32_t>(static_cast<unsigned char>(at[high]) << 8 |
                                     static_cast<unsigned char>(at[1 - high]));
    };
    char* to = bytes.get() + last;
    while (end - from >= 2) {
        char32_t character = unitAt(from);
        int length = 2;
        if (isHighSurrogate(character)) {
            if (end - from < 4) {
                break;
            }
            const char32_t low = unitAt(from + 2);
            character = isLowSurrogate(low) ? joined(character, low) : character;
            length = 4;
        }
        if (isSurrogate(character)) {
            refuse(u"Malformed UTF-16.");
            break;
        }
        char* const written = write(character, to);
        if (written == nullptr) {
            refuse(character);
            break;
        }
        to = written;
        from += length;
    }
    last = static_cast<std::size_t>(to - bytes.get());
    return from;
}

/// Writes a character, or nothing if it is the second one of a line end. Returns null if XML does not allow it.
char* XmlText::write(char32_t character, char* to) {
    const bool second = returned && character == '\n';
    returned = character == '\r';
    if (second) {
        return to;
    }
    if (returned) {
        character = '\n';
    }
    return isXmlCharacter(character) ? putUnits(to, character) : nullptr;
}

void XmlText::refuse(char32_t character) {
    refuse((u"Illegal character U+" + hex(character) + u".").c_str());
}

void XmlText::refuse(const WideChar* sentence) {
    words = sentence;
}

}  // namespace moraine::extras
