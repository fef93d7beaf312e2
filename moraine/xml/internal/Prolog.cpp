#include "moraine/xml/internal/Prolog.h"

#include <algorithm>
#include <memory>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/internal/Attributes.h"

namespace moraine::xml {

using text::unitCount;

std::size_t declarationEnd(std::string_view bytes) {
    const auto refuse = [](const WideChar* words) { lang::raise<io::DataFormatException>(readerName, words); };
    constexpr const WideChar* notFound = u"XML declaration not found.";
    if (bytes.empty()) {
        lang::raise<io::IOException>(readerName, u"Data is empty.");
    }
    if (bytes.substr(0, 4) != "<?xm") {
        refuse(u"Invaild data.");
    }
    if (bytes.size() <= 8 || bytes[4] != 'l' || !text::scan::isWhite(static_cast<unsigned char>(bytes[5]))) {
        refuse(notFound);
    }
    const char* const stop = bytes.data() + bytes.size();
    const char* const mark =
        std::find_if(bytes.data() + declarationStart, stop, [](char c) { return c == '?' || c == 0; });
    if (stop - mark < 2 || mark[0] != '?' || mark[1] != '>') {
        refuse(notFound);
    }
    return static_cast<std::size_t>(mark - bytes.data());
}

void parseDeclaration(const PendingText& pending, DOM::Declaration& declaration) {
    try {
        refuseBracket(pending, 0, pending.length(), declarationStart);
        // The references are resolved by the attributes themselves.
        forEachAttribute(pending, 0, pending.length(), declarationStart, [&](const Range& name, const Range& value) {
            auto attribute = std::make_unique<DOM::Attr>();
            attribute->setLocalName(pending.units() + name.begin, unitCount(name.end - name.begin));
            attribute->setValue(pending.units() + value.begin, unitCount(value.end - value.begin));
            declaration.appendAttribute(attribute.get());
            attribute.release()->setParentNode(&declaration);
        });
    } catch (io::DataFormatException& e) {
        lang::passOn(e, readerName);
    }
}

}  // namespace moraine::xml
