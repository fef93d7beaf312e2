#include "moraine/io/DataFormatException.h"

namespace moraine::io {

DataFormatException::DataFormatException(const DataFormatException& other) = default;

DataFormatException::~DataFormatException() = default;

DataFormatException& DataFormatException::operator=(const DataFormatException& other) = default;

const WideChar* DataFormatException::getClassName() const {
    return u"moraine::io::DataFormatException";
}

}  // namespace moraine::io
