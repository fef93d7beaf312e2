#pragma once

#include "moraine/extras/XmlInputStream.h"
#include "moraine/xml/DOM/Node.h"
#include "moraine/xml/DOM/XMLReader.h"

#include "extras_support.h"

#ifdef MORAINE_TESTS_HAVE_EXPAT
#include <expat.h>
#endif

namespace moraine::test {

/// What a document holds: `<name|attribute=value`, `>`, `'text` and `!comment`, each with a line feed of its own kind
/// behind it. Texts that only processing instructions or CDATA sections divide are one.
class Content {
public:
    explicit Content(bool white) : keepsWhite(white) {}

    void start(const std::string& name) { piece("<" + name); }
    void attribute(const std::string& name, const std::string& value) { log += "|" + name + "=" + value; }
    void end() { piece(">"); }
    void comment(const std::string& content) { piece("!" + content); }
    void text(const std::string& content) { pending += content; }

    std::string all() {
        piece("");
        return log;
    }

private:
    void piece(const std::string& what) {
        if (!pending.empty() && (keepsWhite || pending.find_first_not_of(" \t\r\n") != std::string::npos)) {
            log += "\x1e'" + pending;
        }
        pending.clear();
        log += "\x1e" + what;
    }

    const bool keepsWhite;
    std::string log, pending;
};

inline std::string narrowed(const WideChar* text) {
    return text == nullptr ? "" : extras::toUtf8(text, extras::Malformed::refuse);
}

/// What the reader makes of it. With `WhiteSpace::drop`, texts of nothing but white-space do not count.
inline std::string contentOf(io::InputStream& document, extras::WhiteSpace white) {
    extras::XmlInputStream xml(document, white);
    xml::DOM::XMLReader reader(&xml);
    Content content(white == extras::WhiteSpace::keep);
    int texts = 0;
    while (reader.doRead()) {
        const int type = reader.getNodeType();
        texts = type == xml::DOM::textNode ? texts + 1 : 0;
        EXPECT_LT(texts, 2) << "two texts that are one";
        if (type == xml::DOM::textNode) {
            content.text(narrowed(reader.getValue()));
        } else if (type == xml::DOM::commentNode) {
            content.comment(narrowed(reader.getValue()));
        } else if (type == xml::DOM::elementNode && reader.isStartElement()) {
            content.start(narrowed(reader.getName()));
            for (unsigned int i = 0; i < reader.getAttributeCount(); ++i) {
                content.attribute(narrowed(reader.getAttributeName(i)), narrowed(reader.getAttributeValue(i)));
            }
            if (reader.isEmptyElement()) {
                content.end();
            }
        } else if (type == xml::DOM::elementNode) {
            content.end();
        }
    }
    return content.all();
}

#ifdef MORAINE_TESTS_HAVE_EXPAT
/// What Expat makes of it; `error` and `place` if it refuses.
struct Oracle {
    Oracle(const std::string& document, extras::WhiteSpace white)
        : parser(XML_ParserCreate(nullptr)), content(white == extras::WhiteSpace::keep) {
        XML_SetUserData(parser, this);
        XML_SetElementHandler(
            parser,
            [](void* data, const XML_Char* name, const XML_Char** attributes) {
                auto& self = *static_cast<Oracle*>(data);
                self.content.start(name);
                // Behind those of the tag stand the ones that the document type adds.
                for (int i = 0; i < XML_GetSpecifiedAttributeCount(self.parser); i += 2) {
                    self.content.attribute(attributes[i], attributes[i + 1]);
                }
            },
            [](void* data, const XML_Char*) { static_cast<Oracle*>(data)->content.end(); });
        XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int length) {
            static_cast<Oracle*>(data)->content.text({text, static_cast<std::size_t>(length)});
        });
        XML_SetCommentHandler(parser, [](void* data, const XML_Char* text) {
            auto& self = *static_cast<Oracle*>(data);
            if (!self.inType) {
                self.content.comment(text);
            }
        });
        XML_SetDoctypeDeclHandler(
            parser,
            [](void* data, const XML_Char*, const XML_Char*, const XML_Char*, int) {
                static_cast<Oracle*>(data)->inType = true;
            },
            [](void* data) { static_cast<Oracle*>(data)->inType = false; });
        if (XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) != XML_STATUS_OK) {
            error = XML_GetErrorCode(parser);
            place = "line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ", column " +
                    std::to_string(XML_GetCurrentColumnNumber(parser) + 1);
        }
    }
    Oracle(const Oracle& other) = delete;
    ~Oracle() { XML_ParserFree(parser); }
    Oracle& operator=(const Oracle& other) = delete;

    XML_Parser parser;
    Content content;
    bool inType = false;
    XML_Error error = XML_ERROR_NONE;
    std::string place;
};
#endif

}  // namespace moraine::test
