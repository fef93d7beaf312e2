#include "moraine/extras/ConvertingInputStream.h"

#include "moraine/extras/internal/PieceStream.h"

namespace moraine::extras {

ConvertingInputStream::ConvertingInputStream(std::unique_ptr<PieceStream> made) : pieces(std::move(made)) {}

ConvertingInputStream::~ConvertingInputStream() = default;

unsigned int ConvertingInputStream::read(char* buffer, unsigned int length) {
    return pieces->read(buffer, length);
}

void ConvertingInputStream::close() {
    pieces->close();
}

void ConvertingInputStream::skip(long count) {
    pieces->skip(count);
}

unsigned long ConvertingInputStream::line() const {
    return pieces->where().line;
}

unsigned long ConvertingInputStream::column() const {
    return pieces->where().column;
}

}  // namespace moraine::extras
