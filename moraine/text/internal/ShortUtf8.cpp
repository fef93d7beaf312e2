#include "moraine/text/internal/ShortUtf8.h"

#include "moraine/text/internal/Kernels.h"

namespace moraine::text {

ShortUtf8::ShortUtf8(std::u16string_view text) noexcept : count(scan::narrowAscii(text.data(), text.size(), bytes)) {
    if (count < text.size()) {
        text.remove_prefix(count);
        kernels::encodeUtf8(text.data(), text.size(), bytes + count);
        count += kernels::utf8Size(text.data(), text.size());
    }
}

}  // namespace moraine::text
