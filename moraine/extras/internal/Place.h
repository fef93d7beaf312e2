#pragma once

#include <algorithm>
#include <cstring>

namespace moraine::extras {

/// Lines and columns, from 1, in text whose characters are whole and in the form that the library's decoder takes.
struct Place {
    unsigned long line = 1;
    unsigned long column = 1;
    bool returned = false;  // behind a "\r", whose line a "\n" does not end a second time

    /// Moves over the text from @p at up to @p end.
    void pass(const char* at, const char* end) {
        if (at == end) {
            return;
        }
        const auto length = static_cast<std::size_t>(end - at);
        if (!returned && std::memchr(at, '\r', length) == nullptr) {
            const auto lines = static_cast<unsigned long>(std::count(at, end, '\n'));
            if (lines != 0) {
                line += lines;
                column = 1;
                const char* last = end;
                while (last[-1] != '\n') {
                    --last;
                }
                at = last;
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
    /// The second half of a pair is no character of its own.
    static unsigned long characters(const char* at, const char* end) {
        unsigned long count = 0;
        for (; at != end; ++at) {
            const auto byte = static_cast<unsigned char>(*at);
            count += (byte & 0xc0U) != 0x80 && !(byte == 0xed && static_cast<unsigned char>(at[1]) >= 0xb0) ? 1 : 0;
        }
        return count;
    }
};

}  // namespace moraine::extras
