#pragma once

#include <cstddef>
#include <string_view>

#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/internal/PendingText.h"

/// @file
/// The declaration at the start of a document. It is examined as bytes, since it is what tells the encoding of the
/// rest.

namespace moraine::xml {

/// The offset in the data of the first byte after "<?xml" and a white-space.
constexpr std::size_t declarationStart = 6;

/// The offset of the "?>" that ends the declaration in the first block.
/// @throws io::IOException if there is no byte
/// @throws io::DataFormatException if there is no declaration, or not all of it
std::size_t declarationEnd(std::string_view bytes);

/// Gives the declaration the attributes that the pending units spell.
/// @throws io::DataFormatException if they are malformed
void parseDeclaration(const PendingText& pending, DOM::Declaration& declaration);

}  // namespace moraine::xml
