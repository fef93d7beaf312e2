#include <random>

#include "moraine/extras/Files.h"
#include "moraine/extras/Tree.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Text.h"

#include "extras_support.h"

namespace moraine::test {
namespace {

using namespace xml::DOM;
using extras::append, extras::appendElement, extras::appendText, extras::attribute, extras::elements, extras::find;
using extras::Layout, extras::setAttribute, extras::toUtf8;

std::unique_ptr<Document> parsed(const std::string& text, std::size_t block = 1 << 20) {
    Blocks in(text, block);
    return extras::load(in);
}

std::string saved(Document& document, Layout layout = Layout::plain) {
    Keeper out;
    extras::save(document, out, layout);
    EXPECT_EQ(out.closes + out.flushes, 0);
    return out.bytes;
}

/// A tree, told in a form that has all that counts.
std::string told(Node& node) {
    std::string all =
        std::to_string(node.getNodeType()) + '[' + toUtf8(extras::name(node)) + '|' + toUtf8(extras::value(node)) + '|';
    for (Node& one : extras::attributes(node)) {
        all += toUtf8(extras::name(one)) + '=' + toUtf8(extras::value(one)) + ';';
    }
    for (Node& child : extras::children(node)) {
        EXPECT_EQ(child.getParentNode(), &node);
        all += child.getNodeType() == declarationNode ? "" : told(child);
    }
    return all + ']';
}

constexpr const char* head = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

TEST(Tree, IsLoadedAndSavedToTheLetter) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        // what is loaded; what is saved, indented
        {"<a/>", "<a/>"},
        {"<!--x--><a b='\"&#9;&lt;>'/><!--y-->", "<!--x-->\n<a b=\"&quot;&#9;&lt;&gt;\"/>\n<!--y-->"},
        {"<a>\n <b/>\n\n<c d=''>1 &amp; 2</c></a>", "<a>\n  <b/>\n  <c d=\"\" >1 &amp; 2</c>\n</a>"},
        {"<p>one <b>two</b> <i>three</i><u> <s/> </u></p>", "<p>one <b>two</b> <i>three</i><u><s/></u></p>"},
        {"<a> </a>", "<a> </a>"},
        {"<a xml:space='preserve'> <b> <c/></b></a>", "<a xml:space=\"preserve\"> <b> <c/></b></a>"},
        {"<a> x &amp;lt; \xF0\x9F\x99\x82<![CDATA[<&]]>&#13;</a>", "<a> x &amp;lt; \xF0\x9F\x99\x82&lt;&amp;&#13;</a>"},
    };
    for (const auto& [text, wanted] : rows) {
        const auto document = parsed(text, 3);
        const std::string indented = saved(*document, Layout::indented);
        EXPECT_EQ(indented.substr(indented.find('\n') + 1), wanted + '\n');
        EXPECT_EQ(told(*parsed(indented)), told(*document)) << indented;
        EXPECT_EQ(told(*parsed(saved(*document))), told(*document)) << text;
    }
    EXPECT_EQ(saved(*parsed("<?xml version='1.1' standalone='no'?><a/>")),
              "<?xml version=\"1.1\" encoding=\"utf-8\" standalone=\"no\"?>\n<a/>\n");
    Blocks in("<a> <b/></a>");
    EXPECT_EQ(saved(*extras::load(in, extras::WhiteSpace::keep)), head + std::string("<a> <b/></a>\n"));
}

TEST(Tree, MadeAtRandomComesBack) {
    std::mt19937 random(17);
    const auto pick = [&random](unsigned int count) { return static_cast<unsigned int>(random() % count); };
    const WideString pieces[] = {u"a",   u"<&>",   u"\"'",          u" ",           u"\n", u"\t",
                                 u"]]>", u"&amp;", u"\u00fc\u4e2d", u"\xD83D\xDE42"};
    const auto text = [&] {
        WideString made = u"x";  // which makes it more than layout
        for (unsigned int i = pick(5); i-- > 0;) {
            made += pieces[pick(std::size(pieces))];
        }
        return made;
    };
    for (int round = 0; round < 10000; ++round) {
        Document document;
        std::vector<Node*> open{&appendElement(document, u"root")};
        for (unsigned int i = pick(12); i-- > 0;) {
            Node& parent = *open[pick(static_cast<unsigned int>(open.size()))];
            const unsigned int count = parent.getChildCount();
            const bool afterText = count > 0 && parent.childAt(count - 1)->getNodeType() == textNode;
            switch (pick(4)) {
                case 0:
                    open.push_back(&appendElement(parent, u"e\u00e4"));
                    break;
                case 1:
                    setAttribute(parent, WideString(1, static_cast<WideChar>(u'a' + pick(4))), pick(4) ? text() : u"");
                    break;
                case 2:
                    if (!afterText) {  // or the two would be one
                        appendText(parent, text());
                    }
                    break;
                default:
                    extras::setValue(append(parent, std::make_unique<Comment>()), pick(3) ? u"c & <d>" : u"");
                    break;
            }
        }
        const std::string plain = told(document);
        ASSERT_EQ(told(*parsed(saved(document))), plain);
        ASSERT_EQ(told(*parsed(saved(document, Layout::indented))), plain);
    }
}

TEST(Tree, IsSearchedAndChanged) {
    const auto document = parsed("<lib><book id='1'><t>A</t></book><cd/><book><t>B</t><t>C</t></book></lib>");
    Element& lib = *extras::root(*document);
    EXPECT_EQ(extras::findAll(*document, u"lib/book/t").size(), 3U);
    EXPECT_EQ(extras::text(*find(lib, u"book/t")), u"A");
    EXPECT_EQ(find(lib, u"t"), nullptr);
    EXPECT_EQ(extras::text(lib), u"ABC");
    WideString names;
    for (Element& one : elements(lib)) {
        names += extras::name(one);
    }
    EXPECT_EQ(names, u"bookcdbook");
    Element& book = *find(lib, u"book");
    EXPECT_EQ(attribute(book, u"id"), u"1");
    EXPECT_EQ(attribute(book, u"no", u"none"), u"none");
    setAttribute(book, u"id", u"&lt;");
    setAttribute(book, u"new", u"");
    EXPECT_TRUE(extras::hasAttribute(book, u"new"));
    EXPECT_TRUE(extras::removeAttribute(book, u"new"));
    EXPECT_FALSE(extras::removeAttribute(book, u"new"));
    extras::setText(*find(book, u"t"), u"a<b");
    appendElement(lib, u"end", u"1 & 2").appendChild(nullptr);  // a null entry is passed over
    EXPECT_TRUE(extras::remove(lib, *find(lib, u"cd")));
    EXPECT_FALSE(extras::remove(lib, book.getParentNode() == &lib ? *find(book, u"t") : book));
    EXPECT_EQ(saved(*document),
              head + std::string("<lib><book id=\"&amp;lt;\"><t>a&lt;b</t></book><book><t>B</t><t>C</t>"
                                 "</book><end>1 &amp; 2</end></lib>\n"));
    extras::setText(lib, u"");
    EXPECT_EQ(lib.getChildCount(), 0U);
    EXPECT_EQ(extras::root(*std::make_unique<Document>()), nullptr);
}

TEST(Tree, MayBeDeepAndWide) {
    constexpr unsigned int many = 100000;
    std::string deep;
    for (unsigned int i = 0; i < many; ++i) {
        deep += "<d>";
    }
    deep += "x";
    for (unsigned int i = 0; i < many; ++i) {
        deep += "</d>";
    }
    const auto document = parsed(deep);
    EXPECT_EQ(extras::text(*document), u"x");
    EXPECT_EQ(saved(*document), head + deep + '\n');
    EXPECT_LT(saved(*document, Layout::indented).size(), 300 * std::size_t{many});
    Element& root = *extras::root(*document);
    extras::setText(root, u"");
    for (unsigned int i = 0; i < many; ++i) {
        appendElement(root, u"w");
    }
    EXPECT_EQ(parsed(saved(*document, Layout::indented))->childAt(1)->getChildCount(), many);
}

TEST(Tree, RefusesWhatIsNoXml) {
    const auto refused = [](auto make) {
        Document document;
        make(document, appendElement(document, u"root"));
        return failureOf([&] { saved(document); });
    };
    using D = Document&;
    using E = Element&;
    EXPECT_EQ(refused([](D d, E) { appendElement(d, u"second"); }), "There is not one root element.");
    EXPECT_EQ(refused([](D d, E) { d.removeAll(); }), "There is not one root element.");
    EXPECT_EQ(refused([](D d, E) { appendText(d, u"x"); }), "Text outside of the root element.");
    EXPECT_EQ(refused([](D, E e) { extras::setValue(append(e, std::make_unique<Comment>()), u"-"); }),
              "'--' in a comment.");
    EXPECT_EQ(refused([](D, E e) { appendElement(e, u""); }), "An element or attribute without a name.");
    for (const WideChar* const name : {u"a b", u"1", u"a>", u"\u00d7"}) {
        EXPECT_EQ(refused([&](D, E e) { setAttribute(e, name, u""); }), "A name that XML does not allow.");
    }
    for (const WideString& text : {WideString(u"\x01"), WideString(u"\xFFFE"), WideString(1, 0xD800)}) {
        EXPECT_EQ(refused([&](D, E e) { appendText(e, text); }), "A character that XML does not allow.");
    }
    EXPECT_EQ(refused([](D, E e) { append(e, std::make_unique<Document>()); }),
              "A node that is no element, text or comment.");
}

TEST(Tree, InFilesIsReplacedWholeOrNotAtAll) {
    const TemporaryDirectory folder;
    const WideString name = folder.name(u"a.xml");
    makeFile(folder.path("a.xml"), "<a>\n<b></a>");
    EXPECT_EQ(failureOf([&] { extras::loadFile(name.c_str()); }),
              "End tag 'a' for element 'b'. : line 2, column 4, file " + toUtf8(name));
    EXPECT_THROW(extras::loadFile(folder.name(u"none").c_str()), io::FileNotFoundException);
    const auto document = parsed("<a>\xC3\xBC</a>");
    extras::saveFile(*document, name.c_str());
    EXPECT_EQ(told(*extras::loadFile(name.c_str())), told(*document));
    const std::string before = contentOf(folder.path("a.xml"));
    appendText(*extras::root(*document), u"\x01");
    EXPECT_THROW(extras::saveFile(*document, name.c_str()), io::DataFormatException);
    EXPECT_EQ(contentOf(folder.path("a.xml")), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.root), {}), 1);
}

}  // namespace
}  // namespace moraine::test
