#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "moraine/extras/internal/Search.h"
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

/// The most bytes that one byte becomes, if what is malformed becomes U+FFFD.
constexpr std::size_t growth = 3;

/// What `convertUtf8` copies as it is, and what it writes for the rest.
///
/// `odd` tells of a `Byte` whether it is more than that: from 0x80 up, or not allowed. `stops` tells the same, as
/// `findNear` needs it, and may stop at a few more. `take(character, to)` writes a character, or returns null if it is
/// not allowed; up to U+FFFF, it writes it as it was.
template <class Stops, class Odd, class Take>
struct Rules {
    Stops stops;
    Odd odd;
    Take take;
};
template <class Stops, class Odd, class Take>
Rules(Stops, Odd, Take) -> Rules<Stops, Odd, Take>;

/// The end of the characters of three bytes that begin here, two at a time, but for those whose lead does not tell
/// enough: overlong forms, surrogates, and what lies beside noncharacters.
inline const char* passThrees(const char* at, const char* end) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    constexpr unsigned int unclear = 1U << 0x0 | 1U << 0xd | 1U << 0xf;
    const auto isUnclear = [](unsigned int lead) { return (unclear >> (lead & 0xf) & 1) != 0; };
    for (std::uint64_t word = 0; end - at >= 8; at += 6) {
        std::memcpy(&word, at, 8);
        if ((word & 0xc0c0f0c0c0f0U) != 0x8080e08080e0U || isUnclear(static_cast<unsigned int>(word)) ||
            isUnclear(static_cast<unsigned int>(word >> 24))) {
            break;
        }
    }
#endif
    return at;
}

/// The end of what can be copied as it is.
template <class Rules>
const char* passUnchanged(const char* at, const char* end, const Rules& rules) {
    const auto follows = [&at](int i) { return (at[i] & 0xc0) == 0x80; };
    for (;;) {
        while (end - at >= stride && isFree(at, rules.odd)) {
            at += stride;
        }
        at = findNear(at, end, rules.stops);
        if (at == end) {
            return at;
        }
        if (static_cast<signed char>(*at) >= 0) {
            if (rules.odd(Byte{static_cast<unsigned char>(*at)}) != 0) {
                return at;
            }
            ++at;
            continue;
        }
        do {  // of characters that are not ASCII there are most of the time several
            at = passThrees(at, end);
            if (static_cast<signed char>(*at) >= 0) {
                break;
            }
            const auto lead = static_cast<unsigned char>(*at);
            if (end - at >= 3 && follows(1) && lead >= 0xc2 && lead < 0xe0) {
                at += 2;
            } else if (end - at >= 3 && follows(1) && follows(2) && lead > 0xe0 && lead < 0xef && lead != 0xed) {
                at += 3;
            } else {
                char room[longestCharacter];
                const Sequence sequence = sequenceAt(at, end);
                if (sequence.state != Sequence::good || sequence.length > 3 ||
                    rules.take(sequence.character, room) == nullptr) {
                    return at;
                }
                at += sequence.length;
            }
        } while (at != end && static_cast<signed char>(*at) < 0);
    }
}

/// Converts UTF-8 to the form that the library's decoder takes, up to the first fault.
template <class Rules>
Converted convertUtf8(const char* from, const char* end, char* to, const Rules& rules) {
    for (;;) {
        const char* const at = passUnchanged(from, end, rules);
        std::memcpy(to, from, static_cast<std::size_t>(at - from));
        to += at - from;
        from = at;
        if (from == end) {
            return {from, to, Converted::done, 0, 0};
        }
        const Sequence sequence = sequenceAt(from, end);
        if (sequence.state != Sequence::good) {
            const auto reason = sequence.state == Sequence::malformed ? Converted::malformed : Converted::unfinished;
            return {from, to, reason, sequence.length, 0};
        }
        char* const next = rules.take(sequence.character, to);
        if (next == nullptr) {
            return {from, to, Converted::illegal, sequence.length, sequence.character};
        }
        to = next;
        from += sequence.length;
    }
}

}  // namespace moraine::extras
