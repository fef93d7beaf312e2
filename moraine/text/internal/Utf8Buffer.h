#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "moraine/text/IEncoder.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/WideChar.h"

namespace moraine::text {

/// Whether an encoder gives what a `Utf8Buffer` gathers.
inline bool isUtf8(const IEncoder& encoder) noexcept {
    return equal(encoder.getEncodeName(), u"UTF-8");
}

/// Text that is gathered as UTF-8 from many small pieces. What is appended is not filled with zeros first, and a piece
/// that fits costs no call.
///
/// Each unit is encoded by itself, so equal texts are equal bytes, and decoding gives the same units again.
class Utf8Buffer {
public:
    [[nodiscard]] std::size_t size() const { return used; }
    [[nodiscard]] std::string_view text() const { return {bytes.get(), used}; }

    /// Drops what stands after the first @p size bytes, which it has. It does not keep the room of an unusually long
    /// text.
    void truncate(std::size_t size) noexcept {
        used = size;
        if (room > usual && used < room / 4) {
            shrink();
        }
    }

    void clear() noexcept { truncate(0); }

    /// Makes room for @p count bytes more, so that appending them does not fail.
    void reserve(std::size_t count) { static_cast<void>(extension(count)); }

    /// Appends an ASCII character.
    void operator+=(WideChar ascii) {
        *extension(1) = static_cast<char>(ascii);
        ++used;
    }

    /// Appends an ASCII literal.
    template <std::size_t size>
    void operator+=(const WideChar (&ascii)[size]) {
        char* const target = extension(size - 1);
        for (std::size_t i = 0; i < size - 1; ++i) {
            target[i] = static_cast<char>(ascii[i]);
        }
        used += size - 1;
    }

    void append(std::size_t count, char c) {
        std::memset(extension(count), c, count);
        used += count;
    }

    /// Appends UTF-8, none of which lies in this buffer.
    void append(std::string_view text) {
        std::memcpy(extension(text.size()), text.data(), text.size());
        used += text.size();
    }

    void append(std::u16string_view text) {
        const std::size_t ascii = scan::narrowAscii(text.data(), text.size(), extension(text.size()));
        used += ascii;
        if (ascii < text.size()) {
            appendEncoded(text.substr(ascii));
        }
    }

private:
    /// Where the next @p count bytes go, for which it makes room.
    char* extension(std::size_t count) {
        if (room - used < count) {
            grow(count);
        }
        return bytes.get() + used;
    }

    void grow(std::size_t count);
    void shrink() noexcept;
    void moveTo(std::unique_ptr<char[]> roomy, std::size_t size) noexcept;
    void appendEncoded(std::u16string_view text);

    static constexpr std::size_t least = 256;
    static constexpr std::size_t usual = std::size_t{1} << 16;

    std::unique_ptr<char[]> bytes{new char[least]};
    std::size_t used = 0;
    std::size_t room = least;
};

}  // namespace moraine::text
