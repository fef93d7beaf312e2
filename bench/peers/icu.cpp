#include <unicode/ustring.h>

#include "../bench.h"

namespace {

using bench::Sink;

// Into room for the longest result, as ICU wants it.

void decode(const std::string& bytes, Sink& sink) {
    const std::unique_ptr<char16_t[]> text(new char16_t[bytes.size()]);
    const auto size = static_cast<int>(bytes.size());
    int length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8(text.get(), size, &length, bytes.data(), size, &error);
    sink(text.get(), static_cast<std::size_t>(length) * 2);
}

void encode(const std::u16string& text, Sink& sink) {
    const std::unique_ptr<char[]> bytes(new char[3 * text.size()]);
    const auto size = static_cast<int>(text.size());
    int length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8(bytes.get(), 3 * size, &length, text.data(), size, &error);
    sink(bytes.get(), static_cast<std::size_t>(length));
}

const bench::TextWay ways[] = {{"utf8/decode", "ICU", bench::narrow, decode},
                               {"utf8/encode", "ICU", bench::wide, encode}};

}  // namespace
