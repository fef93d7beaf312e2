#pragma once

#include <cstddef>
#include <memory>

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::xml::DOM {

/// The name or the value of a node: zero-terminated text, or none at all. Short text lies in the object itself.
class MORAINE_API NodeText {
public:
    NodeText() = default;
    NodeText(const NodeText& other) = delete;
    NodeText& operator=(const NodeText& other) = delete;

    /// The text, or null if there is none. Good until the next change.
    const WideChar* get() const noexcept { return text; }

    /// Takes a copy of @p length units, which may lie in the text that it replaces.
    /// @throws std::bad_alloc if there is no room; the text is as it was
    void assign(const WideChar* source, std::size_t length);

    /// Leaves no text.
    void reset() noexcept;

private:
    static constexpr std::size_t insideRoom = 16;

    WideChar* text = nullptr;             // null, or `inside`, or what `outside` holds
    std::unique_ptr<WideChar[]> outside;  // for text that does not fit, its terminator included
    WideChar inside[insideRoom];
};

}  // namespace moraine::xml::DOM
