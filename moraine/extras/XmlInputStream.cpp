#include "moraine/extras/XmlInputStream.h"

#include "moraine/extras/internal/XmlPieces.h"

namespace moraine::extras {

XmlInputStream::XmlInputStream(io::InputStream& source, WhiteSpace whiteSpace)
    : ConvertingInputStream(std::make_unique<XmlPieces>(source, whiteSpace)) {}

XmlInputStream::~XmlInputStream() = default;

}  // namespace moraine::extras
