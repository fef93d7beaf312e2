#include "moraine/text/internal/Utf8Buffer.h"

#include <algorithm>
#include <new>
#include <utility>

#include "moraine/text/internal/Utf8Kernels.h"

namespace moraine::text {

void Utf8Buffer::grow(std::size_t count) {
    const std::size_t roomy = std::max(used + count, 2 * room);
    moveTo(std::unique_ptr<char[]>(new char[roomy]), roomy);
}

/// Gives back most of the room, unless there is none for what stays.
void Utf8Buffer::shrink() noexcept {
    const std::size_t enough = 2 * used + least;
    if (std::unique_ptr<char[]> smaller{new (std::nothrow) char[enough]}) {
        moveTo(std::move(smaller), enough);
    }
}

void Utf8Buffer::moveTo(std::unique_ptr<char[]> roomy, std::size_t size) noexcept {
    std::copy_n(bytes.get(), used, roomy.get());
    bytes = std::move(roomy);
    room = size;
}

void Utf8Buffer::appendEncoded(std::u16string_view text) {
    const std::size_t size = kernels::utf8Size(text.data(), text.size());
    kernels::encodeUtf8(text.data(), text.size(), extension(size));
    used += size;
}

}  // namespace moraine::text
