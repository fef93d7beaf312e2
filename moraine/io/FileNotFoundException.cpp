#include "moraine/io/FileNotFoundException.h"

namespace moraine::io {

const WideChar* FileNotFoundException::getClassName() const {
    return u"moraine::io::FileNotFoundException";
}

}  // namespace moraine::io
