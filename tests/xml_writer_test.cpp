#include <sstream>

#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/XMLWriter.h"

#include "xml_support.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using io::DataFormatException, xml::DOM::XMLWriter;

/// Carries out calls, with "|" between them: `<name`, `@name=value`, `'text`, `!comment`, `>` for an end, `.` for
/// close.
void run(XMLWriter& writer, const std::string& calls, bool passOverFailures = false) {
    std::istringstream stream(calls);
    for (std::string call; std::getline(stream, call, '|');) {
        const WideString text(call.begin() + 1, call.end());
        const std::size_t equals = text.find(u'=');
        try {
            call[0] == '<'    ? writer.writeStartElement(text.c_str())
            : call[0] == '@'  ? writer.writeAttribute(text.substr(0, equals).c_str(), text.c_str() + equals + 1)
            : call[0] == '\'' ? writer.writeText(text.c_str())
            : call[0] == '!'  ? writer.writeComment(text.c_str())
            : call[0] == '>'  ? writer.writeEndElement()
                              : writer.close();
        } catch (const Oops&) {
            if (!passOverFailures) {
                throw;
            }
        }
    }
}

/// What the calls send behind the declaration, with "/" behind each piece; line ends are shown as "~".
std::string sent(const std::string& calls, bool indented, std::set<unsigned int> faulty = {}) {
    Sink sink(std::move(faulty));
    XMLWriter writer(&sink, u"utf-8", indented);
    EXPECT_EQ(sink.pieces[0],
              "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>"s + (indented ? "\r\n" : ""));
    run(writer, calls, true);
    sink.pieces.erase(sink.pieces.begin());
    std::string result = sink.joined("/");
    for (std::size_t at = 0; (at = result.find("\r\n")) != std::string::npos;) {
        result.replace(at, 2, "~");
    }
    return result;
}

TEST(XMLWriter, Output) {
    const std::vector<WideString> cells = cellsOf(3, R"T(
        <a|@b=c|>|<b|>            <a b="c"/>/<b/>/                      <a b="c"/>~/<b/>~/
        <a&amp;b|<c&#38;lt;|'|>|>  <a&b>/<c&lt;>/</c&lt;>/</a&b>/        <a&b>~/\s <c&lt;>/</c&lt;>~/</a&b>~/
        <a|'t|<b|<c|!d|>|>|>      <a>t/<b>/<c><!--d-->/</c>/</b>/</a>/
            <a>t/\s <b>~/\s\s\s <c>~\s\s\s <!--d-->~/\s\s\s </c>~/\s </b>~/</a>~/
        <a|@&amp;=1|@&amp;=2|>    <a &amp;="1" &amp;="2"/>/         <a &amp;="1" &amp;="2"/>~/
        <|@=|!|>                  < =""><!---->/</>/                    < ="">~<!---->~/</>~/
        !0|<a|!1|!2|>|!3          <!--0-->/<a><!--1-->/<!--2-->/</a>/<!--3-->/
            <!--0-->~/<a>~<!--1-->~/<!--2-->~/</a>~/<!--3-->~/
        <a|@q="'|@&lt;=&#65;|'&amp;lt; 1 &lt; 2 < 3|!--&gt;|>
            <a q="&quot;&#39;" &lt;="A">&amp;lt; 1 &lt; 2 &lt; 3/<!----&gt;-->/</a>/
            <a q="&quot;&#39;" &lt;="A">&amp;lt; 1 &lt; 2 &lt; 3/<!----&gt;-->/</a>~/)T");
    for (std::size_t i = 0; i < cells.size(); i += 3) {
        EXPECT_EQ(sent(bytesOf(cells[i]), false), bytesOf(cells[i + 1]));
        EXPECT_EQ(sent(bytesOf(cells[i]), true), bytesOf(cells[i + 2]));
    }
    const std::string text(100000, 'x');
    EXPECT_EQ(sent("<a|@" + text + "=b|<" + text + "|'" + text + "|>|!" + text + "|!c|<d|>|>", false),
              "<a " + text + "=\"b\">/<" + text + ">" + text + "/</" + text + ">/<!--" + text +
                  "-->/<!--c-->/<d/>/</a>/");
    Sink sink;
    XMLWriter writer(&sink, u"utf-8", false);
    writer.writeStartElement(nullptr), writer.writeAttribute(nullptr, nullptr), writer.writeText(nullptr);
    writer.writeComment(nullptr), writer.writeEndElement();
    EXPECT_EQ(sink.joined("").substr(55), "< =\"\"><!----></>");
}

TEST(XMLWriter, RefusalsChangeNothing) {
    const std::vector<WideString> cells = cellsOf(4, R"T(
        !x                 @a=b   <a|>|.            Current element is not element.
        <a                 .      >|.               Current element is not element.
        \e                 't     <a|>              Current element is not element.
        \e                 >      <a|>              Current element is not element.
        <a|'t              @c=d   >                 Current element is already writed.
        <a|@b=1|@B=2       @b=3   @bb=4|<b|@b=5|>|>  Already has a same attribute name.
        <a|@0=|@1=|@2=|@3=|@4=|@5=|@6=|@7=|@8=|@9=|@a=|@b=|@c=|@d=|@e=|@f=|@g=|@h=|>|<b|@0=|@1=|@2=|@3=|@4=|@5=|@6=|@7=|@8=|@9=|@a=|@b=|@c=|@d=|@e=|@f=
                           @f=1   @F=1|@g=1|>       Already has a same attribute name.
        <a|'t|<b|>|!c      'u     !d|<e|>|>         Already has a text.)T");
    for (std::size_t i = 0; i < cells.size(); i += 4) {
        const std::string before = bytesOf(cells[i]), refused = bytesOf(cells[i + 1]), after = bytesOf(cells[i + 2]);
        Sink sink, plain;
        XMLWriter writer(&sink, u"utf-8", true), undisturbed(&plain, u"utf-8", true);
        run(writer, before);
        run(undisturbed, before);
        expectFailure<DataFormatException>([&] { run(writer, refused); }, cells[i + 3],
                                           {u"moraine::xml::DOM::XMLWriter"});
        EXPECT_EQ(sink.pieces, plain.pieces);
        run(writer, after);
        run(undisturbed, after);
        EXPECT_EQ(sink.pieces, plain.pieces);
    }
    Sink sink;
    expectFailure<text::UnsupportedEncodingException>(
        [&] { XMLWriter(&sink, u"Latin", true); }, u"Unsupported encoding. : Latin", {u"moraine::xml::DOM::XMLWriter"});
    EXPECT_EQ(sink.writes + sink.closes, 0U);
}

TEST(XMLWriter, FailuresOfTheStream) {
    const std::string calls = "<a|@b=c|<d|'t|!u|>|<e|!f|>|>|!g|.";
    Sink whole;
    XMLWriter undisturbed(&whole, u"utf-8", true);
    run(undisturbed, calls);
    for (unsigned int n = 1; n <= whole.writes; ++n) {
        Sink sink({n});
        const auto write = [&] { run(*std::make_unique<XMLWriter>(&sink, u"utf-8", true), calls); };
        EXPECT_THROW(write(), Oops);
        EXPECT_EQ(sink.pieces.size(), n - 1 + sink.closes);
        sink.pieces.resize(n - 1);
        EXPECT_TRUE(std::equal(sink.pieces.begin(), sink.pieces.end(), whole.pieces.begin()));
        EXPECT_EQ(sink.closes, n >= whole.writes - 1 ? 1U : 0U) << n;  // then no element is open
    }
    const struct {
        std::set<unsigned int> faults;
        std::string calls, sent;
    } rows[] = {{{2}, "<a|<b|>", "</a>~/"},              // the child stays, and it is not entered
                {{2}, "<a|>|@c=d|>", "<a c=\"d\"/>~/"},  // the element stays open
                {{3}, "<a|'t|>|<b|>|>", "<a>t/  <b/>~/</a>~/"},
                {{3}, "<a|<b|>|>|>", "<a>~/<b/>~/</a>~/"},  // the level is left all the same
                {{2, 3}, ".", ""},  // the destructor tries again and keeps the failure to itself
                {{2}, ".|.|.", "/"}};
    for (const auto& row : rows) {
        EXPECT_EQ(sent(row.calls, true, row.faults), row.sent) << row.calls;
    }
}

TEST(XMLWriter, ClosesOnceAfterTheLastPiece) {
    for (const auto& [calls, closes] : {std::pair("", 1U),
                                        {".", 1U},
                                        {".|.", 1U},
                                        {"<a", 0U},
                                        {"<a|>", 1U},
                                        {".|<a", 1U},
                                        {".|!a|.|.", 2U},
                                        {".|<a|>", 2U}}) {
        Sink sink;
        {
            XMLWriter writer(&sink, u"UTF-8", false);
            run(writer, calls);
        }
        EXPECT_EQ(sink.closes, closes) << calls;
    }
    Sink sink;  // the rest of what an encoder holds is sent before
    XMLWriter writer(&sink, u"BASE64", false);
    run(writer, "<aa|>|.");
    EXPECT_EQ(sink.joined(""), "PD94bWwgdmVyc2lvbj0iMS4wIiBlbmNvZGluZz0iQkFTRTY0IiBzdGFuZGFsb25lPSJ5ZXMiPz48YWEvPg==");
    sink.pieces.clear();
    run(writer, "<a");
    expectFailure<DataFormatException>([&] { writer.close(); }, u"Current element is not element.");
    run(writer, ">|.");
    EXPECT_TRUE(sink.joined("") == "PGEvPg==" && sink.closes == 2) << "the tail after the first close";
}

}  // namespace
}  // namespace moraine::test
