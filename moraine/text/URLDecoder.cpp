#include "moraine/text/URLDecoder.h"

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/UrlCharacters.h"

namespace moraine::text {
namespace {

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

bool areHexDigits(const char* digits) {
    return isHexDigit(digits[0]) && isHexDigit(digits[1]);
}

}  // namespace

URLDecoder::~URLDecoder() = default;

OwnedByteString URLDecoder::doDecode(const char* bytes, unsigned int length, bool last) {
    const std::string_view input = held.join(bytes, length, workText);
    auto result = std::make_unique<ByteString>(input.size(), '\0');
    char* out = result->data();
    for (std::size_t i = 0; i < input.size(); ++i) {
        if (input[i] != '%') {
            *out++ = input[i] == '+' ? ' ' : input[i];
            continue;
        }
        if (input.size() - i <= 2) {
            keepIncomplete(input.substr(i), last);
            break;
        }
        *out++ = static_cast<char>(escapeValue(&input[i + 1]));
        i += 2;
    }
    result->resize(static_cast<std::size_t>(out - result->data()));
    return result;
}

OwnedWideString URLDecoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    const std::string_view input = held.join(bytes, length, workText);
    auto result = std::make_unique<WideString>(input.size(), u'\0');
    WideChar* out = result->data();
    for (std::size_t i = 0; i < input.size(); ++i) {
        if (input[i] != '%') {
            const auto byte = static_cast<unsigned char>(input[i]);
            const url::Kind kind = url::kindOf(byte);
            if (kind == url::Kind::other || kind == url::Kind::space) {
                lang::raise<lang::IllegalArgumentException>(getClassName());
            }
            *out++ = kind == url::Kind::plus ? u' ' : byte;
            continue;
        }
        if (input.size() - i <= 5) {
            keepIncomplete(input.substr(i), last);
            break;
        }
        unsigned int unit = escapeValue(&input[i + 1]);
        i += 2;
        if (input[i + 1] == '%' && areHexDigits(&input[i + 2])) {
            unit = unit << 8 | escapeValue(&input[i + 2]);
            i += 3;
        }
        *out++ = static_cast<WideChar>(unit);
    }
    result->resize(static_cast<std::size_t>(out - result->data()));
    return result;
}

void URLDecoder::clear() {
    held.clear();
}

const WideChar* URLDecoder::getDecodeName() const {
    return u"URL";
}

const WideChar* URLDecoder::getClassName() const {
    return u"moraine::text::URLDecoder";
}

void URLDecoder::keepIncomplete(std::string_view escape, bool last) {
    if (last) {
        lang::raise<lang::IllegalArgumentException>(getClassName());
    }
    held.hold(escape);
}

unsigned int URLDecoder::escapeValue(const char* digits) const {
    if (!areHexDigits(digits)) {
        lang::raise<lang::IllegalArgumentException>(getClassName());
    }
    return static_cast<unsigned char>(stringUtil.fromHexString(digits, 2));
}

}  // namespace moraine::text
