#include <functional>
#include <map>

#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/DOM/Document.h"
#include "moraine/xml/DOM/Element.h"
#include "moraine/xml/DOM/Text.h"

#include "support.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using namespace xml::DOM;
using lang::ArrayIndexOutBoundsException;

template <class Kind>
Kind* make(const WideString& name = u"", const WideString& value = u"") {
    auto node = std::make_unique<Kind>();
    node->setLocalName(name.data(), static_cast<unsigned int>(name.size()));
    node->setValue(value.data(), static_cast<unsigned int>(value.size()));
    return node.release();
}

TEST(Node, KindsAndClassNames) {
    Node* const nodes[] = {new Document, new Declaration, new Element, new Attr, new Comment, new Text};
    const WideString names[] = {u"Document", u"Declaration", u"Element", u"Attr", u"Comment", u"Text"};
    for (int type = 0; type < 6; ++type) {
        const std::unique_ptr<Node> node(nodes[type]);
        EXPECT_EQ(node->getNodeType(), type);
        expectFailure<ArrayIndexOutBoundsException>([&] { node->childAt(4294967295); }, u"0 <= index < 0 : -1",
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

protected:
    void doMemClear4Child() override { Element::doMemClear4Child(), log += u"C"; }
    void doMemClear4Attr() override { Element::doMemClear4Attr(), log += u"A"; }

private:
    WideString& log;
    WideChar mark;
};

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

/// A node that at its end asks the one that holds it for its name, and how many children it has itself.
class Asking : public Element {
public:
    Asking(std::vector<std::pair<WideString, unsigned int>>& target, const WideString& name) : answers(target) {
        setLocalName(name.data(), static_cast<unsigned int>(name.size()));
    }
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;
    ~Asking() override {
        if (getParentNode() != nullptr) {
            answers.emplace_back(getParentNode()->getLocalName(), getChildCount());
        }
    }

private:
    std::vector<std::pair<WideString, unsigned int>>& answers;
};

TEST(Node, NodesEndWhileTheOneThatHoldsThemStillStands) {
    constexpr unsigned int levels = 300;
    constexpr unsigned int asTold = 100;  // levels on which a node has its children until its own end
    std::vector<std::pair<WideString, unsigned int>> answers;
    Node* at = new Asking(answers, u"0 is the outermost one");
    std::unique_ptr<Node> root(at);
    for (unsigned int level = 1; level <= levels; ++level) {
        const WideString name = WideString(level, u'x');
        for (int attribute = 0; attribute < 2; ++attribute) {
            auto* const node = new Asking(answers, name);
            node->setParentNode(at);
            attribute == 0 ? at->appendAttribute(node) : at->appendChild(node);
            auto* const below = new Asking(answers, name);
            below->setParentNode(node);
            node->appendChild(below);
        }
        at->appendChild(nullptr);
        at = at->childAt(0);
    }
    root.reset();
    EXPECT_EQ(answers.size(), 4U * levels);
    std::map<WideString, int> named;
    unsigned int whole = 0;
    for (const auto& [name, children] : answers) {
        ++named[name];
        whole += children > 1 ? 1 : 0;  // on the way down, where each has a next one and a null entry
    }
    EXPECT_EQ(named.size(), levels + 1U);
    EXPECT_TRUE(named[u"x"] == 6 && named[WideString(levels, u'x')] == 2) << "another name than that of the parent";
    EXPECT_EQ(whole, asTold);
}

TEST(Node, ANameMayBecomeAPartOfItselfOrNothing) {
    Text node;
    node.setLocalName((u'y' + WideString(100, u'x')).data(), 101);
    node.setLocalName(node.getLocalName() + 1, 100);
    EXPECT_EQ(node.getLocalName(), WideString(100, u'x'));
    for (unsigned int length : {15U, 16U, 17U}) {
        node.setValue(u"v", 1), node.setLocalName(WideString(99, u'x').data(), length);
        EXPECT_EQ(node.getLocalName() + WideString(node.getValue()), WideString(length, u'x') + u"v");
    }
    node.setLocalName(u"x", 0);
    EXPECT_EQ(node.getLocalName(), nullptr);
}

WideString formsOf(Node* made) {
    const std::unique_ptr<Node> node(made);
    return *node->getString() + u"  " + *node->getReferenceString();
}

TEST(NodeForms, OneNodeAndNeverASubtree) {
    EXPECT_EQ(formsOf(make<Attr>(u"a&lt;", u"b&\"")), u"a<=\"b&\"\"  a&lt;=\"b&amp;&quot;\"");
    EXPECT_EQ(formsOf(make<Text>(u"name", u"1 &lt; 2")), u"1 < 2  1 &lt; 2");
    EXPECT_EQ(formsOf(make<Comment>(u"a", u"-->")), u"<!---->-->  <!----&gt;-->");
    EXPECT_EQ(formsOf(make<Document>(u"name", u"value")), u"  ");
    EXPECT_EQ(formsOf(make<Element>(u"a&b", u"value")), u"<a&b/>  <a&b/>");
    Element node;  // what is in it makes it open
    node.setEmpty(true);
    node.appendAttribute(make<Attr>(u"id", u"a<b"));
    node.appendAttribute(nullptr);
    node.appendChild(make<Comment>(u"", u"c"));
    EXPECT_EQ(*node.getString(), u"< id=\"a<b\">");
    EXPECT_TRUE(node.isEmpty() && !node.isEnd() && node.childAt(0)->getParentNode() == nullptr);
    node.setEnd(true);
    EXPECT_EQ(*node.getReferenceString(), u"</ id=\"a&lt;b\">");
}

WideString fieldsOf(Declaration& node) {
    return WideString(node.getVersion()) + u" " + node.getEncoding() + (node.getStandalone() ? u" yes" : u" no");
}

TEST(Declaration, FieldsFollowTheAttributes) {
    Declaration node;
    EXPECT_EQ(fieldsOf(node), u"1.0 utf-8 yes");
    node.appendAttribute(make<Attr>(u"VERSION", u"1.1"));
    node.appendAttribute(make<Attr>(u"encoding", u"a"));
    node.insertAttribute(make<Attr>(u"Encoding", u"b"), 0);
    node.appendAttribute(make<Attr>(u"standalone", u"NO"));
    EXPECT_EQ(fieldsOf(node), u"1.1 b no");
    node.removeAttribute(0);  // the default comes back though there is another encoding
    EXPECT_EQ(fieldsOf(node), u"1.1 utf-8 no");
    node.setVersion(u"a&b<");
    node.setStandalone(u"YeS");
    EXPECT_EQ(*node.getReferenceString(), u"<?xml version=\"a&b<\" encoding=\"utf-8\" standalone=\"yes\"?>");
    EXPECT_EQ(node.attributeAt(0)->getValue(), u"1.1"s);
    Attr late;
    late.setLocalName(u"version", 7);
    expectFailure<ArrayIndexOutBoundsException>([&] { node.insertAttribute(&late, 3); }, u"0 <= index < 3 : 3");
    expectFailure<ArrayIndexOutBoundsException>([&] { node.removeAttribute(3); }, u"0 <= index < 3 : 3");
    node.removeAllAttributes();
    EXPECT_EQ(fieldsOf(node), u"1.0 utf-8 yes");
    node.appendAttribute(make<Attr>(u"version"));
    node.appendAttribute(make<Attr>(u"standalone"));
    EXPECT_EQ(fieldsOf(node), u" utf-8 no");
    node.insertAttribute(nullptr, 0);
    for (const WideString& fields : {u" utf-8 no"s, u"1.0 utf-8 no"s, u"1.0 utf-8 yes"s}) {
        node.removeAttribute(0);
        EXPECT_EQ(fieldsOf(node), fields);
    }
}

}  // namespace
}  // namespace moraine::test
