#include "moraine/text/EncoderManager.h"

#include "moraine/text/Base64Encoder.h"
#include "moraine/text/internal/CodecNames.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/text/URLEncoder.h"
#include "moraine/text/UTF8Encoder.h"

namespace moraine::text {

bool EncoderManager::isSupported(const WideChar* name) {
    return codecNamed(name, getClassName()) != Codec::none;
}

IEncoder* EncoderManager::getEncoder(const WideChar* name) {
    switch (codecNamed(name, getClassName())) {
        case Codec::utf8:
            return new UTF8Encoder;
        case Codec::base64:
            return new Base64Encoder;
        case Codec::url:
            return new URLEncoder;
        case Codec::none:
            break;
    }
    lang::raise<UnsupportedEncodingException>(getClassName());
}

const WideChar* EncoderManager::getClassName() const {
    return u"moraine::text::EncoderManager";
}

}  // namespace moraine::text
