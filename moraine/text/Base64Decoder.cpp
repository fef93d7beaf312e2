#include "moraine/text/Base64Decoder.h"

#include <array>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/Replace.h"

namespace moraine::text {
namespace {

constexpr signed char noValue = -1;

constexpr std::array<signed char, 256> makeValues() {
    std::array<signed char, 256> values{};
    for (signed char& value : values) {
        value = noValue;
    }
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    signed char next = 0;
    for (const char c : digits) {
        values[static_cast<unsigned char>(c)] = next++;
    }
    return values;
}

constexpr std::array<signed char, 256> values = makeValues();

int valueOf(char c) {
    return values[static_cast<unsigned char>(c)];
}

/// One byte as an element of the result: itself, or a unit of the same value.
template <class Text>
typename Text::value_type element(unsigned int bits) {
    return static_cast<typename Text::value_type>(bits & 0xFF);
}

}  // namespace

Base64Decoder::~Base64Decoder() = default;

OwnedByteString Base64Decoder::doDecode(const char* bytes, unsigned int length, bool last) {
    return decodeGroups<ByteString>(takeGroups(bytes, length, last), last);
}

OwnedWideString Base64Decoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    const std::string_view groups = takeGroups(bytes, length, last);
    try {
        return decodeGroups<WideString>(groups, last);
    } catch (lang::IllegalArgumentException& e) {
        lang::passOn(e, getClassName());
    }
}

void Base64Decoder::clear() {
    held.clear();
}

const WideChar* Base64Decoder::getDecodeName() const {
    return u"BASE64";
}

const WideChar* Base64Decoder::getClassName() const {
    return u"moraine::text::Base64Decoder";
}

unsigned int Base64Decoder::getBase64Index(char c) const {
    const int value = valueOf(c);
    if (value == noValue) {
        // The char is widened with its sign.
        const auto unit = static_cast<WideChar>(static_cast<signed char>(c));
        lang::raise<lang::IllegalArgumentException>(getClassName(), lang::message(u"'", unit, u"'"));
    }
    return static_cast<unsigned int>(value);
}

std::string_view Base64Decoder::takeGroups(const char* bytes, unsigned int length, bool last) {
    std::string_view cleaned = held.join(bytes, length, workText);
    if (findText<char>(cleaned, "\r\n", 0) < cleaned.size()) {
        workText = std::move(*replaced<char>(cleaned, "\r\n", ""));
        cleaned = workText;
    }
    const std::size_t incomplete = cleaned.size() % 4;
    if (last) {
        if (incomplete != 0) {
            lang::raise<lang::IllegalArgumentException>(getClassName());
        }
        return cleaned;
    }
    const std::size_t kept = incomplete != 0 || cleaned.empty() ? incomplete : 4;
    held.hold(cleaned.substr(cleaned.size() - kept));
    cleaned.remove_suffix(kept);
    return cleaned;
}

template <class Text>
std::unique_ptr<Text> Base64Decoder::decodeGroups(std::string_view groups, bool last) const {
    auto result = std::make_unique<Text>(groups.size() / 4 * 3, 0);
    auto* out = result->data();
    const char* at = groups.data();
    const char* const end = at + groups.size();
    for (const char* const lastGroup = last && at < end ? end - 4 : end; at < lastGroup; at += 4, out += 3) {
        const int a = valueOf(at[0]);
        const int b = valueOf(at[1]);
        const int c = valueOf(at[2]);
        const int d = valueOf(at[3]);
        if ((a | b | c | d) < 0) {
            for (int i = 0; i < 4; ++i) {
                getBase64Index(at[i]);  // throws at the first bad one
            }
        }
        const auto bits = static_cast<unsigned int>(a << 18 | b << 12 | c << 6 | d);
        out[0] = element<Text>(bits >> 16);
        out[1] = element<Text>(bits >> 8);
        out[2] = element<Text>(bits);
    }
    if (at < end) {
        const unsigned int first = getBase64Index(at[0]) << 2;
        const unsigned int second = getBase64Index(at[1]);
        *out++ = element<Text>(first | second >> 4);
        if (at[2] != '=') {
            const unsigned int third = getBase64Index(at[2]);
            *out++ = element<Text>(second << 4 | third >> 2);
            if (at[3] != '=') {
                *out++ = element<Text>(third << 6 | getBase64Index(at[3]));
            }
        }
    }
    result->resize(static_cast<std::size_t>(out - result->data()));
    return result;
}

}  // namespace moraine::text
