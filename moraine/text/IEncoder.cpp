#include "moraine/text/IEncoder.h"

namespace moraine::text {

IEncoder::~IEncoder() = default;

}  // namespace moraine::text
