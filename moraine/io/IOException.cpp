#include "moraine/io/IOException.h"

namespace moraine::io {

IOException::IOException(const IOException& other) = default;

IOException::~IOException() = default;

IOException& IOException::operator=(const IOException& other) = default;

const WideChar* IOException::getClassName() const {
    return u"moraine::io::IOException";
}

}  // namespace moraine::io
