#include <moraine/xml/XMLStringUtil.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "bench.h"

// Literal text to markup and back. The column "memcpy" makes a new string of the result by copying it, which is the
// least that such a conversion can cost.

namespace {

using namespace moraine;

using Operation = OwnedWideString (xml::XMLStringUtil::*)(const WideChar* text, unsigned int length);

WideString repeated(const WideString& piece, std::size_t length) {
    WideString text;
    while (text.size() + piece.size() <= length) {
        text += piece;
    }
    return text.append(piece, 0, length - text.size());
}

std::string bytesOf(const WideString& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WideChar)};
}

/// A source and what is made of it, made on first use.
class Texts {
public:
    Texts(WideString unit, std::size_t size, Operation conversion)
        : piece(std::move(unit)), length(size), operation(conversion) {}

    OwnedWideString convert() {
        make();
        return (xml::XMLStringUtil().*operation)(source.data(), static_cast<unsigned int>(source.size()));
    }

    OwnedWideString copy() {
        make();
        return std::make_unique<WideString>(result);
    }

private:
    void make() {
        if (source.empty()) {
            source = repeated(piece, length);
            result = *convert();
        }
    }

    WideString piece;
    std::size_t length;
    Operation operation;
    WideString source, result;
};

bench::Column column(const std::string& name, const std::shared_ptr<Texts>& texts, OwnedWideString (Texts::*make)()) {
    return {name, [=] { return bench::digest(bytesOf(*((*texts).*make)())); },
            [=] {
                if (((*texts).*make)()->empty()) {
                    std::abort();
                }
            }};
}

void add(const std::string& name, const WideString& piece, std::size_t length, Operation operation) {
    const auto texts = std::make_shared<Texts>(piece, length, operation);
    bench::job("xmlstring/" + name, length * sizeof(WideChar),
               {column("moraine", texts, &Texts::convert), column("memcpy", texts, &Texts::copy)});
}

const WideString plain = u"A plain text of a usual length, which has nothing in it that has to be written otherwise. ";
const WideString literal = u"if (a < b && name != \"x\") { /* it's a piece of a program, which has many of them */ } ";
const WideString markup = u"if (a &lt; b &amp;&amp; name != &quot;x&quot;) { /* it&#39;s a piece of it &#x41; */ } ";

const bench::Jobs jobs{[] {
    const struct {
        const char* name;
        Operation operation;
        const WideString& referring;
    } ways[] = {{"escape", &xml::XMLStringUtil::string2Reference, literal},
                {"resolve", &xml::XMLStringUtil::reference2String, markup},
                {"resolve-numeric", &xml::XMLStringUtil::replace4Reference, markup}};
    for (const auto& [name, operation, referring] : ways) {
        for (const auto& [size, length] : {std::pair("1kB", 1 << 9), {"1MB", 1 << 19}}) {
            const auto units = static_cast<std::size_t>(length);
            add(std::string(name) + "/plain-" + size, plain, units, operation);
            add(std::string(name) + "/references-" + size, referring, units, operation);
        }
    }
}};

}  // namespace
