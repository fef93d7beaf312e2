#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
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
        if (!returned && findByte(at, end, '\r') == end) {
            for (const char* next = findByte(at, end, '\n'); next != end; next = findByte(at, end, '\n')) {
                ++line;
                column = 1;
                at = next + 1;
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
    static const char* findByte(const char* at, const char* end, unsigned char byte) {
        const void* const found = at == end ? nullptr : std::memchr(at, byte, static_cast<std::size_t>(end - at));
        return found == nullptr ? end : static_cast<const char*>(found);
    }

    /// How many bytes are no continuation of a character, eight at a time: each has a count of its own in a word, which
    /// does not overflow in so many steps.
    static unsigned long characters(const char* at, const char* end) {
        constexpr std::uint64_t ones = 0x0101010101010101U;
        constexpr std::uint64_t everySecond = 0x00ff00ff00ff00ffU;
        unsigned long all = 0;
        const char* const begin = at;
        while (end - at >= 8) {
            const std::ptrdiff_t steps = std::min<std::ptrdiff_t>((end - at) / 8, 255);
            std::uint64_t counts = 0;
            for (std::ptrdiff_t i = 0; i < steps; ++i) {
                std::uint64_t word = 0;
                std::memcpy(&word, at + 8 * i, 8);
                counts += (~word >> 7 | word >> 6) & ones;
            }
            counts = (counts & everySecond) + (counts >> 8 & everySecond);
            all += static_cast<unsigned long>(counts * 0x0001000100010001U >> 48);
            at += 8 * steps;
        }
        for (; at != end; ++at) {
            all += (*at & 0xc0) != 0x80 ? 1 : 0;
        }
        // The second half of a pair is no character of its own.
        for (at = begin; (at = findByte(at, end, 0xed)) != end; ++at) {
            all -= static_cast<unsigned char>(at[1]) >= 0xb0 ? 1 : 0;
        }
        return all;
    }
};

}  // namespace moraine::extras
