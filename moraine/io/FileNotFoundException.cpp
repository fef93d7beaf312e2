#include "moraine/io/FileNotFoundException.h"

namespace moraine::io {

FileNotFoundException::FileNotFoundException(const FileNotFoundException& other) = default;

FileNotFoundException::~FileNotFoundException() = default;

FileNotFoundException& FileNotFoundException::operator=(const FileNotFoundException& other) = default;

const WideChar* FileNotFoundException::getClassName() const {
    return u"moraine::io::FileNotFoundException";
}

}  // namespace moraine::io
