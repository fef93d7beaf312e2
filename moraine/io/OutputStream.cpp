#include "moraine/io/OutputStream.h"

namespace moraine::io {

OutputStream::~OutputStream() = default;

}  // namespace moraine::io
