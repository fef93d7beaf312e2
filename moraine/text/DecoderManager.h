#pragma once

#include "moraine/Export.h"
#include "moraine/text/IDecoder.h"

namespace moraine::text {

/// Makes decoders by name: "UTF-8", "BASE64" and "URL", in upper or lower case. Blanks count, and there are no
/// aliases but those of the process's locale, by which letters are compared: under a UTF-8 locale the upper-case form
/// of U+017F is "S". Stateless: any thread may use any manager. Both operations pass on `std::bad_alloc`.
class MORAINE_API DecoderManager {
public:
    /// Whether there is a decoder of this zero-terminated name.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null
    bool isSupported(const WideChar* name);

    /// A new decoder with no state in it, which the caller deletes.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null
    /// @throws UnsupportedEncodingException without a message, if there is none of this name
    IDecoder* getDecoder(const WideChar* name);

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;
};

}  // namespace moraine::text
