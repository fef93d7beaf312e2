#pragma once

#include <string_view>

#include "moraine/text/WideChar.h"

namespace moraine::xml {

/// Appends literal text with its reserved characters written as references.
/// @tparam Target `WideString` or `Utf8Buffer`
template <class Target>
void appendReferences(Target& target, const WideChar* text, std::size_t length);

/// Which references `appendResolved` resolves.
enum class Resolve {
    numeric,  ///< `&#...;` alone
    all,      ///< `&lt;`, `&gt;`, `&apos;` and `&quot;`, then the numeric ones in what that gives, then `&amp;`
};

/// Appends markup text with its references resolved.
void appendResolved(WideString& target, const WideChar* text, std::size_t length, Resolve which);

/// What a node keeps of markup text: all references are resolved, and what that gives counts up to its first zero unit.
/// A part of @p text itself if there is nothing to resolve, otherwise of @p room.
std::u16string_view storedForm(const WideChar* text, std::size_t length, WideString& room);

}  // namespace moraine::xml
