#include "moraine/xml/internal/Utf8Buffer.h"

#include <algorithm>
#include <utility>

#include "moraine/text/internal/Kernels.h"

namespace moraine::xml {

void Utf8Buffer::grow(std::size_t count) {
    move(std::max(used + count, 2 * room));
}

/// Moves the bytes to where there is room for @p roomy.
void Utf8Buffer::move(std::size_t roomy) {
    std::unique_ptr<char[]> moved(new char[roomy]);
    std::copy_n(bytes.get(), used, moved.get());
    bytes = std::move(moved);
    room = roomy;
}

void Utf8Buffer::appendEncoded(std::u16string_view text) {
    const std::size_t size = text::kernels::utf8Size(text.data(), text.size());
    text::kernels::encodeUtf8(text.data(), text.size(), extension(size));
    used += size;
}

}  // namespace moraine::xml
