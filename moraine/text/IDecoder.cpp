#include "moraine/text/IDecoder.h"

namespace moraine::text {

IDecoder::~IDecoder() = default;

}  // namespace moraine::text
