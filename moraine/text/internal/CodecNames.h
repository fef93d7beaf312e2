#pragma once

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/StringUtil.h"

namespace moraine::text {

/// The encodings that the library has.
enum class Codec { none, utf8, base64, url };

/// The encoding with this name in any case of letters, by the locale, or `none`.
/// @throws lang::IllegalArgumentException in the name of the manager @p className, if @p name is null
inline Codec codecNamed(const WideChar* name, const WideChar* className, long line = __builtin_LINE()) {
    if (name == nullptr) {
        lang::raise<lang::IllegalArgumentException>(className, line);
    }
    constexpr std::size_t longest = 6;
    const std::size_t length = lengthOf(name);
    if (length > longest) {
        return Codec::none;
    }
    const OwnedWideString upper = StringUtil().toUpperW(name, static_cast<unsigned int>(length));
    return *upper == u"UTF-8"    ? Codec::utf8
           : *upper == u"BASE64" ? Codec::base64
           : *upper == u"URL"    ? Codec::url
                                 : Codec::none;
}

}  // namespace moraine::text
