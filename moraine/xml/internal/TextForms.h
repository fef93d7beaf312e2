#pragma once

#include <string_view>

#include "moraine/text/internal/View.h"
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

template <class Form, class Text, class Append>
void appendAttribute(Form& form, const Text& name, const Text& value, Append append) {
    append(form, name);
    form += u"=\"";
    append(form, value);
    form += u'"';
}

template <class Form, class Text, class Append>
void appendComment(Form& form, const Text& text, Append append) {
    form += u"<!--";
    append(form, text);
    form += u"-->";
}

}  // namespace moraine::xml
