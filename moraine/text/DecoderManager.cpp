#include "moraine/text/DecoderManager.h"

#include "moraine/text/Base64Decoder.h"
#include "moraine/text/internal/CodecNames.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/text/URLDecoder.h"
#include "moraine/text/UTF8Decoder.h"

namespace moraine::text {

bool DecoderManager::isSupported(const WideChar* name) {
    return codecNamed(name, getClassName()) != Codec::none;
}

IDecoder* DecoderManager::getDecoder(const WideChar* name) {
    switch (codecNamed(name, getClassName())) {
        case Codec::utf8:
            return new UTF8Decoder;
        case Codec::base64:
            return new Base64Decoder;
        case Codec::url:
            return new URLDecoder;
        case Codec::none:
            break;
    }
    lang::raise<UnsupportedEncodingException>(getClassName());
}

const WideChar* DecoderManager::getClassName() const {
    return u"moraine::text::DecoderManager";
}

}  // namespace moraine::text
