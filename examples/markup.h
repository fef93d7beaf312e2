#pragma once

/// @file
/// Literal text for the writer of XML.

#include "moraine/text/WideChar.h"
#include "moraine/xml/XMLStringUtil.h"

/// A text as the writer takes it. The writer wants markup, in which "&lt;" means "<", so what is meant literally goes
/// through here. Null is empty.
inline moraine::WideString markup(const moraine::WideChar* text) {
    const auto length = static_cast<unsigned int>(moraine::text::lengthOf(text));
    return *moraine::xml::XMLStringUtil().string2Reference(text, length);
}
