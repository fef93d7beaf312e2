#include "moraine/extras/internal/PieceStream.h"

#include <algorithm>

namespace moraine::extras {

unsigned int PieceStream::read(char* buffer, unsigned int length) {
    if (closed) {
        raise<io::IOException>(className, u"The stream is closed.");
    }
    if (length == 0) {
        return 0;
    }
    for (;;) {
        const std::size_t most = std::min<std::size_t>(length, out.ready());
        std::size_t count = whole(most);
        if (count == 0 && length < Outgoing::leastPiece) {
            count = most;
        }
        if (count > 0) {
            return out.take(buffer, count);
        }
        if (!produceMore()) {
            return 0;
        }
    }
}

void PieceStream::skip(long count) {
    unsigned long left = out.skip(count, className);
    while (left > 0) {
        if (closed || !produceMore()) {
            raise<io::IOException>(className,
                                   words(u"The range of the data was exceeded. : ", static_cast<long long>(count)));
        }
        left = out.skip(static_cast<long>(left), className);
    }
}

void PieceStream::close() {
    if (!closed) {
        closed = true;
        out.clear();
        closeSource();
    }
}

/// False if there is no more.
bool PieceStream::produceMore() {
    if (fault) {
        std::rethrow_exception(fault);
    }
    if (!ended) {
        produce();
        return true;
    }
    return false;
}

}  // namespace moraine::extras
