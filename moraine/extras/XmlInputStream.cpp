#include "moraine/extras/XmlInputStream.h"

#include "moraine/extras/internal/XmlPieces.h"

namespace moraine::extras {

XmlInputStream::XmlInputStream(io::InputStream& source, WhiteSpace whiteSpace)
    : pieces(std::make_unique<XmlPieces>(source, whiteSpace)) {}

XmlInputStream::~XmlInputStream() = default;

unsigned int XmlInputStream::read(char* buffer, unsigned int length) {
    return pieces->read(buffer, length);
}

void XmlInputStream::close() {
    pieces->close();
}

void XmlInputStream::skip(long count) {
    pieces->skip(count);
}

unsigned long XmlInputStream::line() const {
    return pieces->where().line;
}

unsigned long XmlInputStream::column() const {
    return pieces->where().column;
}

}  // namespace moraine::extras
