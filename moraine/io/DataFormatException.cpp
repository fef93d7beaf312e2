#include "moraine/io/DataFormatException.h"

namespace moraine::io {

const WideChar* DataFormatException::getClassName() const {
    return u"moraine::io::DataFormatException";
}

}  // namespace moraine::io
