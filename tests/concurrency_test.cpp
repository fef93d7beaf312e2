#include <future>

#include "moraine/io/FileInputStream.h"
#include "moraine/io/FileOutputStream.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/io/MemoryOutputStream.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/StringUtil.h"
#include "moraine/text/Wildcard.h"
#include "moraine/util/PropertyManager.h"
#include "moraine/util/validator/GenericValidator.h"
#include "moraine/xml/DOM/Element.h"
#include "moraine/xml/DOM/XMLWriter.h"
#include "moraine/xml/XMLStringUtil.h"

#include "xml_support.h"

namespace moraine::test {

using namespace text;
using util::validator::GenericValidator, xml::XMLStringUtil;

TEST(Concurrency, StatelessObjectsServeAllThreadsAndOthersAreIndependent) {
    struct : StringUtil, Wildcard, EncoderManager, DecoderManager, XMLStringUtil, GenericValidator {
    } all;
    const TemporaryDirectory directory;
    const auto work = [&](std::size_t i) {
        const WideString text(500, static_cast<WideChar>(u'a' + i % 8)), name = directory.name(WideString(i + 1, u'f'));
        WideString log = *all.string2Reference(u"<&>", 3) + *all.toUpperW(text.data(), 500);
        const std::unique_ptr<IEncoder> encoder(all.getEncoder(u"URL"));
        const std::unique_ptr<IDecoder> decoder(all.getDecoder(encoder->getEncodeName()));
        log += *decoder->doDecodeM2W(encoder->doEncodeW2M(text.data(), 500, true)->data(), 500, true);
        io::FileOutputStream file(name.c_str());
        xml::DOM::XMLWriter writer(&file, u"base64", true);
        writer.writeStartElement(u"a"), writer.writeText(text.c_str()), writer.writeEndElement(), writer.close();
        Source source(contentOf(name)), again(contentOf(name));
        const auto fail = [&] { util::PropertyManager().read(&again, u"utf-8"); };
        expectFailure<io::DataFormatException>(fail, u"Not found for '='. : (1)");
        util::PropertyManager table;
        table.put(u"name", text.c_str());
        io::MemoryOutputStream out;
        table.write(&out, u"URL");
        io::MemoryInputStream in;
        in.setBytes(out.getBytes(), out.getSize());
        table.read(&in, u"URL");
        xml::DOM::Element node;
        node.appendChild(new xml::DOM::Element);
        node.setLocalName(table.get(u"name"), 500);
        io::FileInputStream back(name.c_str());
        char bytes[50];
        log += *node.getString() + static_cast<WideChar>(back.read(bytes, 50)) +
               (all.isAlphabetW(text.c_str()) == -1 ? u"a" : u"b");
        return log + allOf(source) + (all.isMatchW(text.c_str(), u"*a??a??a??a??a*") ? u"+" : u"-");
    };
    std::future<WideString> results[64];
    for (auto& result : results) {
        result = std::async(std::launch::async, work, &result - results);
    }
    for (std::size_t i = 0; i < 64; ++i) {
        EXPECT_TRUE((results[i].wait(), results[i].get() == work(i))) << i;
    }
}

}  // namespace moraine::test
