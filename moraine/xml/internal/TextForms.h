#pragma once

#include <string_view>

#include "moraine/text/WideChar.h"
#include "moraine/xml/internal/References.h"

namespace moraine::xml {

/// How a text form takes up one of the texts that it is made of.
using AppendText = void (*)(WideString& form, std::u16string_view text);

inline void appendLiteral(WideString& form, std::u16string_view text) {
    form.append(text);
}

inline void appendEscaped(WideString& form, std::u16string_view text) {
    appendReferences(form, text.data(), text.size());
}

/// A zero-terminated text, which is empty if it is absent.
inline std::u16string_view textOrEmpty(const WideChar* text) {
    return {text, text::lengthOf(text)};
}

inline void appendAttribute(WideString& form, std::u16string_view name, std::u16string_view value, AppendText append) {
    append(form, name);
    form += u"=\"";
    append(form, value);
    form += u'"';
}

inline void appendComment(WideString& form, std::u16string_view text, AppendText append) {
    form += u"<!--";
    append(form, text);
    form += u"-->";
}

}  // namespace moraine::xml
