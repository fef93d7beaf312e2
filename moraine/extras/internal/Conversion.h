#pragma once

#include <cstddef>
#include <cstring>

#include "moraine/extras/internal/Utf8Bytes.h"

namespace moraine::extras {

/// Where a conversion has come to, and why it stopped.
struct Converted {
    enum Reason { done, unfinished, malformed, illegal };
    const char* from;
    char* to;
    Reason reason;
    unsigned int length;  // of what is malformed or illegal
    char32_t character;   // what is illegal
};

/// The most bytes that one byte becomes, if what is malformed becomes U+FFFD, and what may be written behind that.
constexpr std::size_t growth = 3;
constexpr std::size_t slack = 32;

/// Converts UTF-8 to the form that the library's decoder takes, up to the first fault. `Plain` tells of a byte below
/// 0x80 whether it is copied as it is, and `take(character, to)` writes any other character, or returns null if it is
/// not allowed.
template <class Plain, class Take>
Converted convertUtf8(const char* from, const char* end, char* to, Plain plain, Take take) {
    while (from != end) {
        // As many plain bytes as possible in one go; a loop without branches, of which compilers make wide code.
        while (end - from >= static_cast<std::ptrdiff_t>(slack)) {
            unsigned char odd = 0;
            for (std::size_t i = 0; i < slack; ++i) {
                odd = static_cast<unsigned char>(odd | !plain(static_cast<unsigned char>(from[i])));
            }
            if (odd != 0) {
                break;
            }
            std::memcpy(to, from, slack);
            from += slack;
            to += slack;
        }
        const char* const stop = end - from > static_cast<std::ptrdiff_t>(slack) ? from + slack : end;
        while (from < stop) {
            const auto byte = static_cast<unsigned char>(*from);
            if (plain(byte)) {
                *to++ = *from++;
                continue;
            }
            const Sequence sequence = sequenceAt(from, end);
            if (sequence.state != Sequence::good) {
                const auto reason =
                    sequence.state == Sequence::malformed ? Converted::malformed : Converted::unfinished;
                return {from, to, reason, sequence.length, 0};
            }
            char* const next = take(sequence.character, to);
            if (next == nullptr) {
                return {from, to, Converted::illegal, sequence.length, sequence.character};
            }
            to = next;
            from += sequence.length;
        }
    }
    return {from, to, Converted::done, 0, 0};
}

}  // namespace moraine::extras
