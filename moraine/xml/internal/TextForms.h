#pragma once

#include "moraine/text/WideChar.h"
#include "moraine/xml/internal/References.h"

namespace moraine::xml {

/// How a node puts one of its zero-terminated texts into its text form. An absent text counts as empty.
using AppendText = void (*)(WideString& form, const WideChar* text);

inline void appendLiteral(WideString& form, const WideChar* text) {
    form.append(text, text::lengthOf(text));
}

inline void appendEscaped(WideString& form, const WideChar* text) {
    appendReferences(form, text, text::lengthOf(text));
}

}  // namespace moraine::xml
