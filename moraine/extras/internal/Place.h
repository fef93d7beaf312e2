#pragma once

#include <algorithm>
#include <cstring>

namespace moraine::extras {

/// Lines and columns, from 1, in text whose characters are whole and in the form that the library's decoder takes.
struct Place {
    unsigned long line = 1;
    unsigned long column = 1;
    bool returned = false;  // after a "\r", whose line a "\n" does not end a second time

    /// Moves over the text from @p at up to @p end.
    void pass(const char* at, const char* end) {
        if (at == end) {
            return;
        }
        const auto length = static_cast<std::size_t>(end - at);
        if (!returned && std::memchr(at, '\r', length) == nullptr) {
            const char* after = nullptr;
            line += count(at, end, after, [](char c) { return c == '\n'; });
            if (after != nullptr) {
                column = 1;
                while (after[-1] != '\n') {
                    --after;
                }
                at = after;
            }
            column += characters(at, end);
            return;
        }
        for (const char* start = at; at != end; start = at) {
            at = std::find_if(at, end, [](char c) { return c == '\n' || c == '\r'; });
            column += characters(start, at);
            if (at != start) {
                returned = false;
            }
            if (at != end) {
                if (*at == '\r' || !returned) {
                    ++line;
                    column = 1;
                }
                returned = *at == '\r';
                ++at;
            }
        }
    }

private:
    /// How many bytes `counts`, and a place not far after the last of them. Compilers make wide code of loops that
    /// count in bytes.
    template <class Counts>
    static unsigned long count(const char* at, const char* end, const char*& after, Counts counts) {
        unsigned long all = 0;
        while (at != end) {
            const char* const stop = end - at > 128 ? at + 128 : end;
            unsigned char some = 0;
            for (; at != stop; ++at) {
                some = static_cast<unsigned char>(some + counts(*at));
            }
            all += some;
            after = some != 0 ? stop : after;
        }
        return all;
    }

    static const char* findByte(const char* at, const char* end, unsigned char byte) {
        const void* const found = at == end ? nullptr : std::memchr(at, byte, static_cast<std::size_t>(end - at));
        return found == nullptr ? end : static_cast<const char*>(found);
    }

    static unsigned long characters(const char* at, const char* end) {
        const char* last = nullptr;
        unsigned long all = count(at, end, last, [](char c) { return (c & 0xc0) != 0x80; });
        // The second half of a pair is no character of its own.
        for (; (at = findByte(at, end, 0xed)) != end; ++at) {
            all -= static_cast<unsigned char>(at[1]) >= 0xb0 ? 1 : 0;
        }
        return all;
    }
};

}  // namespace moraine::extras
