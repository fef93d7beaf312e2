#pragma once

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::xml {

/// Converts between literal text and the text of XML markup, in which five characters are written as references.
///
/// Results are new strings that the caller owns. Nothing here fails but for want of memory (`std::bad_alloc`): a
/// reference that is malformed or not known stays in the text as it is. Stateless: any thread may use any instance.
class MORAINE_API XMLStringUtil {
public:
    /// Literal text to markup: "&amp;" for `&`, "&lt;" for `<`, "&gt;" for `>`, "&#39;" for the single and "&quot;"
    /// for the double quote. Every ampersand is escaped, also one that begins a reference.
    /// Takes exactly @p length units of @p text, zero units included.
    OwnedWideString string2Reference(const WideChar* text, unsigned int length);

    /// Markup to literal text. "&lt;", "&gt;", "&apos;" and "&quot;" are resolved first, then numeric references in
    /// the result of that, then "&amp;" in the result of that: so `&amp;lt;` gives "&lt;", and `&#38;amp;` gives "&".
    /// The inverse of `string2Reference` for every text without zero units.
    /// Takes exactly @p length units of @p text; numeric references after a zero unit are left as they are.
    OwnedWideString reference2String(const WideChar* text, unsigned int length);

    /// Resolves numeric references alone: `&#` and up to 8 units of a decimal number, or `&#x` and up to 6
    /// hexadecimal digits, and `;`. One reference gives one unit, the low 16 bits of its number. A decimal number is
    /// read up to its first unit that is no digit, with leading white-space and a sign allowed; 0 leaves the
    /// reference in the text, while a hexadecimal 0, or no digit at all after the `x`, gives a zero unit.
    /// Takes exactly @p length units of @p text; references after a zero unit are left as they are.
    OwnedWideString replace4Reference(const WideChar* text, unsigned int length);
};

}  // namespace moraine::xml
