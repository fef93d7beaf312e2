#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Place.h"
#include "moraine/io/IOException.h"

namespace moraine::extras {

/// What a stream is about to hand out, in the form that the library's decoder takes, and the end of what it has handed
/// out, so that it can go back.
class Outgoing {
public:
    /// The most that `XMLReader` asks for, and goes back.
    static constexpr std::size_t kept = 10240;
    /// A caller that asks for fewer bytes gets them wherever they end.
    static constexpr std::size_t leastPiece = 16;

    /// @param places whether `placeOf` will be asked
    explicit Outgoing(bool places) : counting(places) {}

    const char* begin() const { return bytes.get() + next; }
    const char* end() const { return bytes.get() + last; }
    std::size_t ready() const { return last - next; }
    /// Whether anything, handed out or not, stands before what is ready.
    bool hasPast() const { return next != 0; }

    /// Gives up what is handed out and need not be kept, if there is much of it. Offsets from `size` change.
    void compact() {
        if (next > 4 * kept) {
            const std::size_t gone = next - kept;
            if (counting) {
                place.pass(bytes.get(), bytes.get() + gone);
            }
            std::memmove(bytes.get(), bytes.get() + gone, last - gone);
            next -= gone;
            last -= gone;
        }
    }

    /// The place for at least @p count more bytes.
    char* room(std::size_t count) {
        if (capacity - last <= count) {
            grow(count);
        }
        return bytes.get() + last;
    }

    /// What was written from the last `room` on ends at @p to.
    void wrote(const char* to) { last = static_cast<std::size_t>(to - bytes.get()); }

    void put(char c) {
        *room(1) = c;
        ++last;
    }
    void put(std::string_view text) {
        std::memcpy(room(text.size()), text.data(), text.size());
        last += text.size();
    }

    /// The number of bytes held, and back to such a number.
    std::size_t size() const { return last; }
    void cut(std::size_t size) { last = std::max(size, next); }
    const char* at(std::size_t offset) const { return bytes.get() + offset; }

    /// How many of the first @p count bytes that are ready may be one piece: no part of a character, and nothing from
    /// `<!--` without what follows it. @p more says whether anything will be after what is ready.
    std::size_t whole(std::size_t count, bool more) const {
        if (count == ready() && !more) {
            return count;
        }
        const char* const from = begin();
        if (count < ready()) {
            while (count > 0 && (from[count] & 0xc0) == 0x80) {
                --count;
            }
            if (count >= 3 && from[count] == '\xed' && static_cast<unsigned char>(from[count + 1]) >= 0xb0) {
                count -= 3;
            }
        }
        // What looks like an opening may be the start of a comment that "<!--" has opened: go back over all of them. If
        // there is nothing else, all but the first are in a comment or in no XML at all.
        constexpr std::size_t longestOpening = 4;
        std::size_t left = count;
        for (std::size_t length = openingAt(left); length > 0; length = openingAt(left)) {
            left -= length;
        }
        return left == 0 && count > longestOpening ? count : left;
    }

    /// Hands out @p count bytes, which must be ready.
    unsigned int take(char* to, std::size_t count) {
        std::memcpy(to, begin(), count);
        next += count;
        return static_cast<unsigned int>(count);
    }

    /// Moves by @p count bytes, forward over what is ready only; returns how many are left to go.
    /// @throws io::IOException if it is too far back
    unsigned long skip(long count, const WideChar* className) {
        const unsigned long distance =
            count < 0 ? 0UL - static_cast<unsigned long>(count) : static_cast<unsigned long>(count);
        if (count >= 0) {
            const std::size_t step = std::min<std::size_t>(distance, ready());
            next += step;
            return distance - static_cast<unsigned long>(step);
        }
        if (distance > next) {
            raise<io::IOException>(className,
                                   words(u"The range of the data was exceeded. : ", static_cast<long long>(count)));
        }
        next -= distance;
        return 0;
    }

    /// The line and column of a byte that is held, or of the end.
    Place placeOf(const char* byte) const {
        Place result = place;
        result.pass(bytes.get(), byte);
        return result;
    }

    void clear() { next = last = 0; }

private:
    /// The length of the markup opening that the first @p count ready bytes end with.
    std::size_t openingAt(std::size_t count) const {
        const std::string_view text(begin(), count);
        for (const std::string_view opening : {"<", "<!", "<!-", "<!--"}) {
            if (count >= opening.size() && text.substr(count - opening.size()) == opening) {
                return opening.size();
            }
        }
        return 0;
    }

    void grow(std::size_t count) {
        const std::size_t wanted = std::max({last + count + 1, 2 * capacity, std::size_t{1024}});
        std::unique_ptr<char[]> larger(new char[wanted]);
        if (last != 0) {
            std::memcpy(larger.get(), bytes.get(), last);
        }
        bytes = std::move(larger);
        capacity = wanted;
    }

    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
    std::size_t next = 0;
    std::size_t last = 0;
    const bool counting;
    Place place;  // of the first byte held, if counting
};

}  // namespace moraine::extras
