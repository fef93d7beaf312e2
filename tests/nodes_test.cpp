#include "xml_support.h"

#include <algorithm>
#include <functional>
#include <map>

#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/DOM/Document.h"
#include "moraine/xml/DOM/Element.h"
#include "moraine/xml/DOM/Text.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using namespace xml::DOM;
using lang::ArrayIndexOutBoundsException;

static_assert(!std::is_copy_constructible_v<Element> && !std::is_copy_assignable_v<Declaration>);

unsigned int sizeOf(const WideString& text) {
    return static_cast<unsigned int>(text.size());
}

template <class Kind>
Kind* make(const WideString& name = u"", const WideString& value = u"") {
    auto node = std::make_unique<Kind>();
    node->setLocalName(name.data(), sizeOf(name));
    node->setValue(value.data(), sizeOf(value));
    return node.release();
}

TEST(Node, StartsEmpty) {
    Node* const nodes[] = {new Document, new Declaration, new Element, new Attr, new Comment, new Text};
    const WideString names[] = {u"Document", u"Declaration", u"Element", u"Attr", u"Comment", u"Text"};
    for (int type = 0; type < 6; ++type) {
        const std::unique_ptr<Node> node(nodes[type]);
        EXPECT_EQ(node->getNodeType(), type);
        EXPECT_TRUE(node->getChildCount() + node->getAttributeCount() == 0 && node->getCurrentChildIndex() == 0);
        EXPECT_TRUE(!node->getLocalName() && !node->getValue() && !node->getParentNode() && !node->getChild());
        EXPECT_TRUE(node->moveToFirst() && !node->moveToNext());
        expectFailure<ArrayIndexOutBoundsException>([&] { node->childAt(0); }, u"0 <= index < 0 : 0",
                                                    {u"moraine::xml::DOM::" + names[type]});
    }
}

/// A node that tells of its end and of the clearing operations that virtual dispatch finds.
class Probe : public Element {
public:
    Probe(WideString& target, WideChar unit) : log(target), mark(unit) {}
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    ~Probe() override { log += mark; }

    static void expectProtectedPlaces(std::size_t place) {
        expectPlaces(place, &Probe::doMemClear4Child, &Probe::doMemClear4Attr, &Probe::getClassName);
    }

protected:
    void doMemClear4Child() override { Element::doMemClear4Child(), log += u"C"; }
    void doMemClear4Attr() override { Element::doMemClear4Attr(), log += u"A"; }

private:
    WideString& log;
    WideChar mark;
};

TEST(Node, VirtualOrder) {
    expectPlaces(1, &Node::getNodeType, &Node::getString, &Node::getReferenceString, &Node::setLocalName,
                 &Node::getLocalName, &Node::setParentNode, &Node::getParentNode, &Node::getChildCount,
                 &Node::appendChild, &Node::insertChild, &Node::childAt, &Node::removeChild, &Node::removeAll,
                 &Node::getAttributeCount, &Node::appendAttribute, &Node::insertAttribute, &Node::attributeAt,
                 &Node::removeAttribute, &Node::removeAllAttributes, &Node::setValue, &Node::getValue,
                 &Node::moveToFirst, &Node::moveToNext, &Node::getChild, &Node::getCurrentChildIndex);
    Probe::expectProtectedPlaces(26);
}

/// Carries out one unit for each step and notes what it gave: `n` and `f` move to the next and the first child, a digit
/// removes the child of that index, `x` inserts one in front of child 0, `c` clears. Then the children, the cursor and
/// the child under it: `-` for none, `!` for a failed bounds test.
WideString walk(const WideString& names, const WideString& steps) {
    Element parent;
    for (const WideChar name : names) {
        parent.appendChild(make<Element>({name}));
    }
    WideString log;
    for (const WideChar step : steps) {
        step == u'n'   ? log += parent.moveToNext() ? u"t" : u"f"
        : step == u'f' ? log += parent.moveToFirst() ? u"t" : u"f"
        : step == u'x' ? (parent.insertChild(make<Element>(u"x"), 0), log)
        : step == u'c' ? (parent.removeAll(), log)
                       : (parent.removeChild(step - u'0'), log);
    }
    log += u":";
    for (unsigned int i = 0; i < parent.getChildCount(); ++i) {
        log += parent.childAt(i)->getLocalName();
    }
    text::appendDecimal(log += u":", parent.getCurrentChildIndex());
    try {
        const Node* const child = parent.getChild();
        return log + (child == nullptr ? u"-" : child->getLocalName());
    } catch (const std::out_of_range&) {
        return log + u'!';
    }
}

TEST(Node, Cursor) {
    const std::vector<WideString> cells = cellsOf(3, R"T(
        \e   n    f::0-        abc  \e  :abc:0a    abc  nnn  ttf:abc:2c    abc  nf   tt:abc:0a   ab   x    :xab:0x
        ab   nx   t:xab:1a     abc  n2  t:ab:1b    abc  n1   t:ac:0a       abc  n1n  tt:ac:1c    abc  n0   t:bc:0b
        ab   0    :b:-1!       ab   0n  t:b:0b     ab   00   ::-2!         ab   00n  t::-1!      ab   00nn  tf::-1!
        abc  01   :b:-2!       ab   0f  t:b:0b     ab   00c  ::0-          abc  nc   t::0-       abc  nn2  tt:ab:1b)T");
    for (std::size_t i = 0; i < cells.size(); i += 3) {
        EXPECT_EQ(walk(cells[i], cells[i + 1]), cells[i + 2]) << testing::PrintToString(cells[i] + u" " + cells[i + 1]);
    }
}

/// Children and attributes are one design, so what has no cursor in it is tried with both.
template <auto append, auto insert, auto at, auto remove, auto count>
void expectList() {
    Element owner;
    const auto names = [&] {
        WideString all;
        for (unsigned int i = 0; i < (owner.*count)(); ++i) {
            const Node* const entry = (owner.*at)(i);
            all += entry == nullptr ? u"0" : entry->getLocalName();
        }
        return all;
    };
    const auto expectRefusals = [&](unsigned int index, const WideString& message) {
        const WideString before = names();
        Attr fresh;  // it stays ours
        const std::vector<WideString> layers = {u"moraine::xml::DOM::Element"};
        expectFailure<ArrayIndexOutBoundsException>([&] { (owner.*insert)(&fresh, index); }, message, layers);
        expectFailure<ArrayIndexOutBoundsException>([&] { (owner.*at)(index); }, message, layers);
        expectFailure<ArrayIndexOutBoundsException>([&] { (owner.*remove)(index); }, message, layers);
        EXPECT_TRUE(names() == before && owner.getCurrentChildIndex() == 0);
    };
    expectRefusals(0, u"0 <= index < 0 : 0");
    for (const WideChar name : {u'a', u'b', u'c'}) {
        (owner.*append)(make<Attr>({name}));
    }
    expectRefusals(3, u"0 <= index < 3 : 3");
    expectRefusals(4294967295U, u"0 <= index < 3 : -1");
    (owner.*insert)(make<Attr>(u"x"), 2);
    (owner.*insert)(nullptr, 0);
    (owner.*append)(nullptr);
    EXPECT_EQ(names(), u"0abxc0");
    EXPECT_EQ((owner.*at)(1)->getParentNode(), nullptr);
    (owner.*remove)(2);
    (owner.*remove)(0);
    EXPECT_EQ(names(), u"axc0");
}

TEST(Node, Lists) {
    expectList<&Node::appendChild, &Node::insertChild, &Node::childAt, &Node::removeChild, &Node::getChildCount>();
    expectList<&Node::appendAttribute, &Node::insertAttribute, &Node::attributeAt, &Node::removeAttribute,
               &Node::getAttributeCount>();
}

TEST(Node, EndOfNodes) {
    WideString log;
    const auto tree = [&log] {  // a(b(d, e; attribute f), c; attributes g(h), i)
        std::map<WideChar, Probe*> nodes = {{u'0', nullptr}};
        for (const WideChar mark : u"abcdefghi"s) {
            nodes[mark] = new Probe(log, mark);
        }
        for (const WideChar* const link : {u"a+b", u"b+d", u"b+0", u"b+e", u"a+c", u"g+h", u"b=f", u"a=g", u"a=i"}) {
            Node* const target = nodes[link[2]];
            link[1] == u'+' ? nodes[link[0]]->appendChild(target) : nodes[link[0]]->appendAttribute(target);
        }
        return std::unique_ptr<Node>(nodes[u'a']);
    };
    const struct {
        std::function<void(Node&)> act;
        WideString ended, endedLater;
    } rows[] = {{[](Node&) {}, u"", u"abdefcghi"},
                {[](Node& n) { n.removeChild(0); }, u"bdef", u"acghi"},
                {[](Node& n) { n.removeAttribute(0); }, u"gh", u"abdefci"},
                {[](Node& n) { n.removeAll(); }, u"bdefcC", u"aghi"},
                {[](Node& n) { n.removeAllAttributes(); }, u"ghiA", u"abdefc"}};
    for (const auto& row : rows) {
        auto root = tree();
        row.act(*root);
        EXPECT_EQ(log, row.ended);
        log.clear();
        root.reset();
        EXPECT_EQ(log, row.endedLater);
        log.clear();
    }
}

TEST(Node, SizeAndDepthHaveNoLimit) {
    constexpr int many = 1000000;
    auto root = std::make_unique<Element>();
    Node* innermost = root.get();
    for (int i = 0; i < many; ++i) {
        auto* const next = new Element;
        i % 2 == 0 ? innermost->appendChild(next) : innermost->appendAttribute(next);
        innermost = next;
    }
    for (int i = 0; i < many; ++i) {
        root->appendChild(new Text);
    }
    EXPECT_EQ(root->getChildCount(), 1000001U);
    EXPECT_EQ(*root->getString(), u"<>");
}

TEST(Node, NamesAndValuesAreStoredResolved) {
    const std::vector<WideString> cells = cellsOf(2, R"T(
        a&gt;b  a>b    a&amp;lt;b  a&lt;b    ab&#x0;cd  ab    &#x0;a  \e    ab\0&lt;  ab    &lt;\0b  <    \0b  \e    &gt  &gt)T");
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        const std::vector<WideChar> exact(cells[i].begin(), cells[i].end());
        Text node;
        node.setLocalName(exact.data(), sizeOf(cells[i]));
        node.setValue(exact.data(), sizeOf(cells[i]));
        ASSERT_NE(node.getValue(), nullptr) << i;
        EXPECT_EQ(node.getValue(), cells[i + 1]);
        i % 4 == 0 ? node.setValue(nullptr, 5) : node.setValue(u"abc", 0);
        EXPECT_EQ(node.getValue(), nullptr);
        EXPECT_EQ(node.getLocalName(), cells[i + 1]);
    }
    for (unsigned int length = 2; length < 70;
         ++length) {  // short and long texts, also replaced by a part of their own
        Text node;
        const WideString text(length, u'x');
        node.setValue(text.data(), length);
        node.setLocalName((u'y' + text).data(), length);
        node.setLocalName(node.getLocalName() + 1, length - 1);
        EXPECT_EQ(node.getLocalName(), text.substr(1));
        EXPECT_EQ(node.getValue(), text);
    }
}

template <class Kind>
void expectForms(const std::string& table) {
    const std::vector<WideString> cells = cellsOf(4, table);
    for (std::size_t i = 0; i < cells.size(); i += 4) {
        const std::unique_ptr<Node> node(make<Kind>(cells[i], cells[i + 1]));
        EXPECT_EQ(*node->getString(), cells[i + 2]);
        EXPECT_EQ(*node->getReferenceString(), cells[i + 3]);
        node->appendChild(new Declaration);
        EXPECT_EQ(*node->getString(), node->getNodeType() == elementNode ? u"<" + cells[i] + u">" : cells[i + 2]);
    }
}

TEST(NodeForms, OneNodeAndNeverASubtree) {
    expectForms<Attr>(R"T(href  a&b  href="a&b"  href="a&amp;b"    t  it's  t="it's"  t="it&#39;s"
        a&lt;  "  a<="""  a&lt;="&quot;"    b  \e  b=""  b=""    \e  \e  =""  ="")T");
    expectForms<Text>("name  1 &lt; 2  1 < 2  1 &lt; 2    name  \\e  \\e  \\e");
    expectForms<Comment>(
        "a  x > y  <!--x > y-->  <!--x &gt; y-->    a  -->  <!---->-->  <!----&gt;-->    a  \\e  <!---->  <!---->");
    expectForms<Document>("name  value  \\e  \\e");
    expectForms<Element>("a&b  value  <a&b/>  <a&b/>");
    Element node;
    for (const bool isEmpty : {true, false}) {
        node.setEmpty(isEmpty);
        EXPECT_EQ(*node.getString(), u"</>");
        node.appendAttribute(make<Attr>(u"id", u"a<b"));
        node.appendAttribute(nullptr);
        node.appendChild(make<Comment>(u"", u"c"));
        EXPECT_EQ(*node.getString(), u"< id=\"a<b\">");
        node.setEnd(true);
        EXPECT_EQ(*node.getReferenceString(), u"</ id=\"a&lt;b\">");
        EXPECT_TRUE(node.isEnd() && node.isEmpty() == isEmpty);
        node.removeAllAttributes();
        node.removeAll();
        EXPECT_EQ(*node.getReferenceString(), u"</>");
        node.setEnd(false);
    }
}

/// Carries out steps with "," behind each: `+name=value` (append), `^name=value` (insert in front), `-0` (remove), `-`
/// (remove all), `version=`, `encoding=`, `standalone=` (the setters). Gives the fields.
WideString declared(const WideString& steps) {
    Declaration node;
    node.appendChild(new Element);
    for (std::size_t at = 0, end = 0; (end = steps.find(u',', at)) != WideString::npos; at = end + 1) {
        const std::size_t equals = std::min(end, steps.find(u'=', at));
        const WideString value = equals < end ? steps.substr(equals + 1, end - equals - 1) : u"";
        const auto attribute = [&] { return make<Attr>(steps.substr(at + 1, equals - at - 1), value); };
        steps[at] == u'+'   ? node.appendAttribute(attribute())
        : steps[at] == u'^' ? node.insertAttribute(attribute(), 0)
        : steps[at] == u'v' ? node.setVersion(value.c_str())
        : steps[at] == u'e' ? node.setEncoding(value.c_str())
        : steps[at] == u's' ? node.setStandalone(value.c_str())
        : end == at + 1     ? node.removeAllAttributes()
                            : node.removeAttribute(steps[at + 1] - u'0');
    }
    const WideString standalone = node.getStandalone() ? u"yes" : u"no";
    EXPECT_EQ(*node.getString(), u"<?xml version=\""s + node.getVersion() + u"\" encoding=\"" + node.getEncoding() +
                                     u"\" standalone=\"" + standalone + u"\"?>");
    EXPECT_EQ(*node.getReferenceString(), *node.getString());
    return WideString(node.getVersion()) + u" " + node.getEncoding() + u" " + standalone;
}

TEST(Declaration, FieldsFollowTheAttributes) {
    const std::vector<WideString> cells = cellsOf(2, R"T(
        \e                                  1.0 utf-8 yes    +VERSION=1.1,                 1.1 utf-8 yes
        +standalone=NO,                     1.0 utf-8 no     standalone=no,+standalone=YeS,  1.0 utf-8 yes
        +encoding=a,+Encoding=b,            1.0 b yes        +encoding=a,+encoding=b,-0,   1.0 utf-8 yes
        +encoding=a,^encoding=b,            1.0 b yes        +version=1.1,version=2.0,     2.0 utf-8 yes
        +version=1.1,version=2.0,-0,        1.0 utf-8 yes    standalone=no,-,              1.0 utf-8 yes
        version=2,encoding=x,+a=b,-,        1.0 utf-8 yes    +standalone=no,+foo=bar,-1,   1.0 utf-8 no
        +standalone=no,+a=b,^A=b,-1,        1.0 utf-8 yes    +version=,+standalone=,       \sutf-8 no
        encoding=a&b,version=&lt;,          &lt; a&b yes     +encoding=,                   1.0 \syes
        standalone=true,                    1.0 utf-8 no     standalone=yess,              1.0 utf-8 no)T");
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        EXPECT_EQ(declared(cells[i]), cells[i + 1]) << testing::PrintToString(cells[i]);
    }
    Declaration node;
    node.appendAttribute(make<Attr>(u"VERSION", u"1.1"));
    node.setVersion(u"2.0");
    EXPECT_EQ(node.attributeAt(0)->getLocalName() + WideString(node.attributeAt(0)->getValue()), u"VERSION1.1");
    Attr late;
    late.setLocalName(u"version", 7);
    expectFailure<ArrayIndexOutBoundsException>([&] { node.insertAttribute(&late, 1); }, u"0 <= index < 1 : 1");
    expectFailure<ArrayIndexOutBoundsException>([&] { node.removeAttribute(1); }, u"0 <= index < 1 : 1");
    EXPECT_EQ(node.getVersion(), u"2.0"s);
}

}  // namespace
}  // namespace moraine::test
