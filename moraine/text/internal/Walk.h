#pragma once

#include <cstddef>

namespace moraine::text::kernels {

/// A walk over bytes that are decoded: where it stands.
template <class Element>
struct Walk {
    const char* at = nullptr;
    const char* end = nullptr;
    Element* out = nullptr;  ///< has room for an element for each byte from @p at on, if nothing else is said

    [[nodiscard]] std::size_t left() const noexcept { return static_cast<std::size_t>(end - at); }
};

}  // namespace moraine::text::kernels
