#include "moraine/io/InputStream.h"

namespace moraine::io {

InputStream::~InputStream() = default;

}  // namespace moraine::io
