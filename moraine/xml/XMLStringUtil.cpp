#include "moraine/xml/XMLStringUtil.h"

#include "moraine/xml/internal/References.h"

namespace moraine::xml {
namespace {

OwnedWideString resolved(const WideChar* text, unsigned int length, Resolve which) {
    auto result = std::make_unique<WideString>();
    result->reserve(length);
    appendResolved(*result, text, length, which);
    return result;
}

}  // namespace

OwnedWideString XMLStringUtil::string2Reference(const WideChar* text, unsigned int length) {
    auto result = std::make_unique<WideString>();
    result->reserve(length);
    appendReferences(*result, text, length);
    return result;
}

OwnedWideString XMLStringUtil::reference2String(const WideChar* text, unsigned int length) {
    return resolved(text, length, Resolve::all);
}

OwnedWideString XMLStringUtil::replace4Reference(const WideChar* text, unsigned int length) {
    return resolved(text, length, Resolve::numeric);
}

}  // namespace moraine::xml
