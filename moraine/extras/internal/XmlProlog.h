#pragma once

#include <string>

#include "moraine/extras/internal/XmlScanner.h"

namespace moraine::extras {

/// Reads the declaration, if there is one, and gives the text its encoding. Returns the declaration that a reader takes
/// in its place.
std::string readDeclaration(XmlScanner& document);

/// Passes over a document type, at whose "<" the text stands. Nothing of it is kept.
void passDocumentType(XmlScanner& document);

}  // namespace moraine::extras
