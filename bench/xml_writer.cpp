#include "xml_writer.h"

#include <cstring>

#include <moraine/io/FileOutputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/text/UTF8Encoder.h>
#include <moraine/xml/DOM/XMLWriter.h>

namespace {

using namespace moraine;

class Moraine {
public:
    static WideString form(const WideString& text) { return text; }

    Moraine(const char* path, bool indented)
        : file(path == nullptr ? nullptr : new io::FileOutputStream(WideString(path, std::strchr(path, 0)).c_str())),
          writer(file ? static_cast<io::OutputStream*>(file.get()) : &memory, u"UTF-8", indented) {}
    void start(const WideString& name) { writer.writeStartElement(name.c_str()); }
    void attribute(const WideString& name, const WideString& value) {
        writer.writeAttribute(name.c_str(), value.c_str());
    }
    void text(const WideString& value) { writer.writeText(value.c_str()); }
    void comment(const WideString& value) { writer.writeComment(value.c_str()); }
    void end() { writer.writeEndElement(); }
    void close() { writer.close(); }
    std::string bytes() { return {memory.getBytes(), memory.getSize()}; }

private:
    io::MemoryOutputStream memory;
    std::unique_ptr<io::FileOutputStream> file;
    xml::DOM::XMLWriter writer;
};

const bench::Writing<Moraine> way("moraine");

const bench::Jobs jobs([] {
    bench::job<bench::Target>("writer", "memory/indented", 1 << 20, {false, true});
    bench::job<bench::Target>("writer", "file/indented", 1 << 20, {true, true});
    bench::job<bench::Target>("writer", "memory/plain", 1 << 20, {false, false});
    bench::job<bench::Target>("writer", "file/plain", 1 << 20, {true, false});
});

}  // namespace

namespace bench {

std::string utf8(const std::u16string& text) {
    return *text::UTF8Encoder().doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
}

const std::vector<Call>& calls() {
    static const std::vector<Call> all = [] {
        std::vector<Call> made;
        for (int i = 0; i < 40; ++i) {
            const std::string digits = std::to_string(48271 * (i + 1));
            const std::u16string number(digits.begin(), digits.end());
            const auto field = [&](const char16_t* name, const std::u16string& text) {
                made.insert(made.end(), {{'<', name}, {'"', u"", text}, {'>'}});
            };
            made.insert(made.end(),
                        {{'<', u"record"}, {'=', u"id", number}, {'=', u"title", u"\"" + number + u"\" & more"}});
            field(u"name", u"Müller & Söhne");
            field(u"amount", number + u".50");
            field(u"description", u"A plain text of a usual length, which has nothing in it that needs a reference.");
            field(u"formula", u"a < b && b > " + number);
            made.insert(made.end(), {{'!', u"", u" a remark "}, {'<', u"flag"}, {'=', u"set", u"yes"}, {'>'}, {'>'}});
        }
        return made;
    }();
    return all;
}

}  // namespace bench
