#pragma once

#include <cstddef>
#include <exception>

#include "moraine/extras/internal/Outgoing.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

/// What is inside an input stream of this library: it makes their text in larger parts than it hands out.
class PieceStream {
public:
    /// @param places whether `out` will be asked for lines and columns
    PieceStream(const WideChar* name, bool places) : className(name), out(places) {}
    PieceStream(const PieceStream& other) = delete;
    virtual ~PieceStream() = default;
    PieceStream& operator=(const PieceStream& other) = delete;

    unsigned int read(char* buffer, unsigned int length);
    void skip(long count);
    void close();

    /// Of the next byte, or how far the source has been looked at.
    virtual Place where() const = 0;

protected:
    /// How many of the next @p count bytes, which are ready, are handed out at once; 0 if that takes more.
    virtual std::size_t whole(std::size_t count) const { return out.whole(count, !ended); }

    /// Makes more ready, or sets `ended` or `fault`.
    virtual void produce() = 0;

    virtual void closeSource() = 0;

    bool goesOn() const { return !ended && !fault; }

    const WideChar* const className;  // for failures
    Outgoing out;
    bool ended = false;        // nothing will come after what is ready
    std::exception_ptr fault;  // what is thrown after that

private:
    bool produceMore();

    bool closed = false;
};

}  // namespace moraine::extras
