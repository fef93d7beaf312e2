#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

#include "moraine/io/InputStream.h"
#include "moraine/text/IDecoder.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/WideChar.h"
#include "moraine/xml/internal/Marks.h"

namespace moraine::xml {

/// What a reader has read and not yet consumed: a block of bytes, and the units that blocks were decoded to, with their
/// marks. Before the pending units it keeps those of the current piece. Places are offsets from the first pending
/// unit; they last, and pointers do not, when a further block is read.
class PendingText {
public:
    static constexpr unsigned int blockSize = 10240;

    explicit PendingText(io::InputStream* source);

    /// Reads up to `blockSize` bytes into `bytes`. What the stream throws leaves everything as it was.
    /// @throws io::IOException "The stream could not be read." if the stream says that it gave more
    unsigned int readBytes(const WideChar* className);
    [[nodiscard]] const char* bytes() const noexcept { return byteBuffer; }

    /// Whether the stream is being asked, or has failed when it was asked last.
    [[nodiscard]] bool isAsking() const noexcept { return asking; }

    /// Sets what all further blocks are decoded by.
    void decodeBy(std::unique_ptr<text::IDecoder> newDecoder);
    [[nodiscard]] bool canDecode() const noexcept { return decoder != nullptr; }

    /// Puts the next block after the pending units; false if it gives no text, which ends the data.
    bool readBlock(const WideChar* className);

    /// Puts units after the pending ones.
    void append(const WideString& units);

    [[nodiscard]] std::size_t length() const noexcept { return end - start; }
    WideChar* units() noexcept { return buffer.get() + start; }
    [[nodiscard]] const WideChar* units() const noexcept { return buffer.get() + start; }

    /// The current piece.
    [[nodiscard]] const WideChar* piece() const noexcept { return buffer.get() + pieceBegin; }

    /// Drops pending units; those before a token are not kept.
    void drop(std::size_t count) noexcept { start += count; }

    /// Consumes pending units, which become the current piece.
    void takePiece(std::size_t count) noexcept {
        pieceBegin = start;
        start += count;
        pieceEnd = start;
    }

    /// The place of the first unit from @p from on that is marked in one of the rows, or `length()` if there is none.
    template <std::uint64_t Marks::*... Rows>
    [[nodiscard]] std::size_t next(std::size_t from) const noexcept {
        const std::size_t at = start + from;
        if (at >= end) {
            return length();
        }
        std::uint64_t bits = marked<Rows...>(at / markedUnits) >> at % markedUnits;
        if (bits != 0) {
            return from + static_cast<std::size_t>(__builtin_ctzll(bits));
        }
        for (std::size_t word = at / markedUnits + 1; word * markedUnits < end; ++word) {
            bits = marked<Rows...>(word);
            if (bits != 0) {
                return word * markedUnits + static_cast<std::size_t>(__builtin_ctzll(bits)) - start;
            }
        }
        return length();
    }

    /// Whether any unit from @p from up to @p to is marked in the row.
    template <std::uint64_t Marks::*Row>
    [[nodiscard]] bool any(std::size_t from, std::size_t to) const noexcept {
        return from < to && Walk<Row>(*this, from, to).next() < to;
    }

    /// The place of the first unit that is no white-space, or `length()` if there is none.
    [[nodiscard]] std::size_t nextSolid() const noexcept {
        std::size_t at = start;
        if (at < end && !text::scan::isWhite(buffer[at])) {
            return 0;
        }
        while (at < end) {
            const std::uint64_t solid = ~marks[at / markedUnits].white >> at % markedUnits;
            if (solid != 0) {
                return std::min(at + static_cast<std::size_t>(__builtin_ctzll(solid)), end) - start;
            }
            at = (at / markedUnits + 1) * markedUnits;
        }
        return length();
    }

    /// The marks of some rows, one after the other, from a place on up to another, which is not the same.
    template <std::uint64_t Marks::*... Rows>
    class Walk {
    public:
        Walk(const PendingText& text, std::size_t from, std::size_t to) noexcept
            : marks(text.marks.get()), start(text.start), end(text.start + to), word((start + from) / markedUnits),
              bits(marked() & ~std::uint64_t{0} << (start + from) % markedUnits) {}

        /// The place of the next marked unit; the end or a place beyond it if there is none.
        std::size_t next() noexcept {
            while (bits == 0) {
                ++word;
                if (word * markedUnits >= end) {
                    return end - start;
                }
                bits = marked();
            }
            const auto bit = static_cast<std::size_t>(__builtin_ctzll(bits));
            bits &= bits - 1;
            return word * markedUnits + bit - start;
        }

    private:
        [[nodiscard]] std::uint64_t marked() const noexcept { return ((marks[word].*Rows) | ...); }

        const Marks* marks;
        std::size_t start;
        std::size_t end;
        std::size_t word;
        std::uint64_t bits;
    };

private:
    template <std::uint64_t Marks::*... Rows>
    [[nodiscard]] std::uint64_t marked(std::size_t word) const noexcept {
        return ((marks[word].*Rows) | ...);
    }

    void makeRoom(std::size_t count);
    void added(std::size_t count) noexcept;

    io::InputStream* stream;  // borrowed
    std::unique_ptr<text::IDecoder> decoder;
    text::UTF8Decoder* utf8 = nullptr;  // the decoder, if it is this one, which writes to the buffer without a detour
    bool asking = false;
    std::unique_ptr<WideChar[]> buffer;
    std::unique_ptr<Marks[]> marks;  // of the units in `buffer`
    std::size_t capacity = 0;        // of both, in units; a multiple of what a `Marks` covers
    std::size_t pieceBegin = 0;
    std::size_t pieceEnd = 0;
    std::size_t start = 0;
    std::size_t end = 0;
    char byteBuffer[blockSize];
};

}  // namespace moraine::xml
