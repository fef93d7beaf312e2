#include "moraine/text/StringUtil.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/platform/Locale.h"
#include "moraine/text/internal/HexDigits.h"
#include "moraine/text/internal/Replace.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/View.h"

namespace moraine::text {
namespace {

template <class Unit>
std::int32_t lenientHexValue(const Unit* text, unsigned int length) {
    std::uint32_t total = 0;
    for (unsigned int i = 0; i < length; ++i) {
        const int digit = hexValue(text[i]);
        if (digit < 0) {
            return -1;
        }
        total = total << 4 | static_cast<std::uint32_t>(digit);
    }
    return static_cast<std::int32_t>(total);
}

template <class Unit>
std::unique_ptr<std::basic_string<Unit>> hexDigitsOf(unsigned int value, unsigned int count) {
    auto digits = std::make_unique<std::basic_string<Unit>>(count, Unit('0'));
    for (unsigned int i = count; i-- > 0; value >>= 4) {
        (*digits)[i] = static_cast<Unit>(hexDigits[value & 15]);
    }
    return digits;
}

template <class Unit>
std::unique_ptr<std::basic_string<Unit>> trimmed(std::basic_string_view<Unit> text, bool left, bool right) {
    constexpr Unit space = ' ';
    if (left) {
        text.remove_prefix(std::min(text.find_first_not_of(space), text.size()));
    }
    if (right) {
        text.remove_suffix(text.size() - (text.find_last_not_of(space) + 1));
    }
    return std::make_unique<std::basic_string<Unit>>(text);
}

/// Copies the text with each unit converted. In the default locale the letters from `first` to `last`, which are all
/// that change, differ from their other case by one bit; `convert` asks any other locale.
template <class Unit, class Conversion>
std::unique_ptr<std::basic_string<Unit>> inOtherCase(std::basic_string_view<Unit> text, char first, char last,
                                                     Conversion convert) {
    auto result = std::make_unique<std::basic_string<Unit>>(text);
    if (platform::isDefaultLocale()) {
        const auto from = static_cast<Unit>(first);
        const auto count = static_cast<unsigned int>(last - first + 1);
        for (Unit& unit : *result) {
            const bool changes = static_cast<std::make_unsigned_t<Unit>>(unit - from) < count;
            unit = static_cast<Unit>(unit ^ (changes ? 0x20 : 0));
        }
    } else {
        std::transform(text.begin(), text.end(), result->begin(), convert);
    }
    return result;
}

}  // namespace

StringUtil::~StringUtil() = default;

char StringUtil::fromHexString(const char* text, unsigned int length) const {
    unsigned int total = 0;
    for (unsigned int i = 0; i < length; ++i) {
        const int digit = hexValue(text[i]);
        if (digit < 0 || text[i] >= 'a') {
            lang::raise<lang::IllegalArgumentException>(getClassName());
        }
        total = total << 4 | static_cast<unsigned int>(digit);
    }
    return static_cast<char>(total & 0xFF);
}

WideChar StringUtil::fromHexStringW(const WideChar* text, unsigned int length) const {
    unsigned int total = 0;
    for (unsigned int i = 0; i < length; ++i) {
        const WideChar unit = text[i];
        const bool digit = platform::isDigit(unit);
        if (!digit && (platform::collate(unit, u'A') < 0 || platform::collate(unit, u'F') > 0)) {
            lang::raise<lang::IllegalArgumentException>(getClassName());
        }
        total = total * 16 + unit - (digit ? u'0' : u'A' - 10U);
    }
    return static_cast<WideChar>(total);
}

std::int32_t StringUtil::hexStr2Long(const char* text, unsigned int length) {
    return lenientHexValue(text, length);
}

std::int32_t StringUtil::hexStr2LongW(const WideChar* text, unsigned int length) {
    return lenientHexValue(text, length);
}

OwnedByteString StringUtil::toHexString(char value) {
    return hexDigitsOf<char>(static_cast<unsigned char>(value), 2);
}

OwnedByteString StringUtil::toHexStringW2M(WideChar value) {
    return hexDigitsOf<char>(value, 4);
}

OwnedWideString StringUtil::toHexStringW(WideChar value) {
    return hexDigitsOf<WideChar>(value, 4);
}

OwnedByteString StringUtil::doReplace(const char* text, unsigned int length, const char* search,
                                      const char* replacement) {
    return replaced<char>({text, length}, view(search), view(replacement));
}

OwnedWideString StringUtil::doReplaceW(const WideChar* text, unsigned int length, const WideChar* search,
                                       const WideChar* replacement) {
    return replaced<WideChar>({text, length}, view(search), view(replacement));
}

OwnedByteString StringUtil::doRTrim(const char* text, unsigned int length) {
    return trimmed<char>({text, length}, false, true);
}

OwnedByteString StringUtil::doLTrim(const char* text, unsigned int length) {
    return trimmed<char>({text, length}, true, false);
}

OwnedByteString StringUtil::doTrim(const char* text, unsigned int length) {
    return trimmed<char>({text, length}, true, true);
}

OwnedWideString StringUtil::doRTrimW(const WideChar* text, unsigned int length) {
    return trimmed<WideChar>({text, length}, false, true);
}

OwnedWideString StringUtil::doLTrimW(const WideChar* text, unsigned int length) {
    return trimmed<WideChar>({text, length}, true, false);
}

OwnedWideString StringUtil::doTrimW(const WideChar* text, unsigned int length) {
    return trimmed<WideChar>({text, length}, true, true);
}

OwnedByteString StringUtil::toUpper(const char* text, unsigned int length) {
    const auto convert = [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); };
    return inOtherCase<char>({text, length}, 'a', 'z', convert);
}

OwnedByteString StringUtil::toLower(const char* text, unsigned int length) {
    const auto convert = [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); };
    return inOtherCase<char>({text, length}, 'A', 'Z', convert);
}

OwnedWideString StringUtil::toUpperW(const WideChar* text, unsigned int length) {
    return inOtherCase<WideChar>({text, scan::find(text, length, 0)}, 'a', 'z', platform::toUpper);
}

OwnedWideString StringUtil::toLowerW(const WideChar* text, unsigned int length) {
    return inOtherCase<WideChar>({text, scan::find(text, length, 0)}, 'A', 'Z', platform::toLower);
}

OwnedByteString StringUtil::toMulti(const WideChar* text, unsigned int length) {
    auto result = std::make_unique<ByteString>(length, '\0');
    platform::toMultibyte(text, length, result->data(), length);
    return result;
}

OwnedWideString StringUtil::toWide(const char* text, unsigned int length) {
    auto result = std::make_unique<WideString>(length, u'\0');
    platform::fromMultibyte(text, length, result->data());
    return result;
}

OwnedByteString StringUtil::wide2Chars(const WideChar* text, unsigned int length) {
    const auto wide = std::count_if(text, text + length, [](WideChar unit) { return unit >= 0x100; });
    auto result = std::make_unique<ByteString>();
    result->reserve(length + static_cast<std::size_t>(wide));
    for (unsigned int i = 0; i < length; ++i) {
        if (text[i] >= 0x100) {
            result->push_back(static_cast<char>(text[i] >> 8));
        }
        result->push_back(static_cast<char>(text[i]));
    }
    return result;
}

const WideChar* StringUtil::getClassName() const {
    return u"moraine::text::StringUtil";
}

}  // namespace moraine::text
