#include "moraine/io/IOException.h"

namespace moraine::io {

const WideChar* IOException::getClassName() const {
    return u"moraine::io::IOException";
}

}  // namespace moraine::io
