#include "moraine/extras/internal/XmlProlog.h"

#include <string_view>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/text/UnsupportedEncodingException.h"

namespace moraine::extras {
namespace {

constexpr std::string_view publicCharacters = " \n-'()+,./:=?;!*#@$_%0123456789"
                                              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

constexpr const WideChar* badDeclaration = u"The declaration is not well formed.";
constexpr const WideChar* badType = u"The document type is not well formed.";

class Declaration {
public:
    explicit Declaration(XmlScanner& document) : doc(document) {}

    std::string read() {
        constexpr std::string_view opening = "<?xml";
        std::string version = "1.0";
        std::string standalone;
        if (doc.in.have(opening.size() + 1) && std::string_view(doc.in.begin(), opening.size()) == opening &&
            isKind(doc.in.begin()[opening.size()], whiteByte)) {
            doc.in.consume(opening.size());
            version = readPseudoAttribute("version");
            if (version.size() < 3 || version.compare(0, 2, "1.") != 0 ||
                version.find_first_not_of("0123456789", 2) != std::string::npos) {
                doc.fail(version.empty() ? badDeclaration : u"The version is none of XML 1.");
            }
            const XmlEncoding encoding = chosenEncoding(readPseudoAttribute("encoding"));
            standalone = readPseudoAttribute("standalone");
            if (!standalone.empty() && standalone != "yes" && standalone != "no") {
                doc.fail(u"The value of standalone is neither yes nor no.");
            }
            doc.passWhite();
            doc.expect("?>", badDeclaration);
            doc.in.goOnAs(encoding);
        } else {
            doc.in.goOnAs(doc.in.encoding());
        }
        std::string declaration = "<?xml version=\"" + version + "\" encoding=\"utf-8\"";
        if (!standalone.empty()) {
            declaration += " standalone=\"" + standalone + '"';
        }
        return declaration + "?>";
    }

private:
    /// The value of an attribute of the declaration, and where it begins; empty if another one or none is next.
    std::string readPseudoAttribute(std::string_view wanted) {
        std::size_t white = 0;
        while (isKind(doc.byteAt(white), whiteByte)) {
            ++white;
        }
        // Nothing after the declaration may be looked at before its encoding is known.
        std::size_t same = 0;
        while (same < wanted.size() && doc.byteAt(white + same) == wanted[same]) {
            ++same;
        }
        if (white == 0 || same < wanted.size()) {
            return {};
        }
        doc.in.consume(white + wanted.size());
        doc.passWhite();
        doc.expect("=", badDeclaration);
        doc.passWhite();
        const char quote = doc.peek(badDeclaration);
        if (quote != '"' && quote != '\'') {
            doc.fail(badDeclaration);
        }
        doc.in.consume(1);
        valuePlace = doc.in.place();
        std::string value;
        for (; isKind(doc.peek(badDeclaration), nameByte); doc.in.consume(1)) {
            value.push_back(*doc.in.begin());
        }
        if (value.empty() || *doc.in.begin() != quote) {
            doc.fail(badDeclaration);
        }
        doc.in.consume(1);
        return value;
    }

    /// The encoding of this name, which is empty if none is declared.
    XmlEncoding chosenEncoding(const std::string& encoding) {
        struct Named {
            std::string_view name;
            XmlEncoding form;
            bool wide;
        };
        constexpr Named all[] = {{"utf-8", XmlEncoding::utf8, false},         {"us-ascii", XmlEncoding::ascii, false},
                                 {"iso-8859-1", XmlEncoding::latin1, false},  {"utf-16", XmlEncoding::utf16Big, true},
                                 {"utf-16", XmlEncoding::utf16Little, true},  {"utf-16be", XmlEncoding::utf16Big, true},
                                 {"utf-16le", XmlEncoding::utf16Little, true}};
        if (encoding.empty()) {
            return doc.in.encoding();
        }
        bool known = false;
        for (const Named& one : all) {
            if (equalIgnoringCase(encoding, one.name)) {
                known = true;
                if (one.form == doc.in.encoding() || (!doc.in.isCertain() && !one.wide)) {
                    return one.form;
                }
            }
        }
        if (!known) {
            raise<text::UnsupportedEncodingException>(
                doc.failing, located(words(u"Unsupported encoding ", quoted(encoding), u"."), valuePlace));
        }
        doc.fail(words(u"The document's encoding is not ", quoted(encoding), u"."), valuePlace);
    }

    XmlScanner& doc;
    Place valuePlace;  // of an attribute of the declaration
};

class DocumentType {
public:
    explicit DocumentType(XmlScanner& document) : doc(document) {}

    void pass() {
        doc.expect("<!DOCTYPE", badType);
        passNeededWhite();
        passName();
        const bool white = doc.passWhite();
        const char next = doc.peek(badType);
        if (next == 'S' || next == 'P') {
            if (!white) {
                doc.fail(badType);
            }
            doc.expect(next == 'S' ? "SYSTEM" : "PUBLIC", badType);
            passNeededWhite();
            if (next == 'P') {
                passPublicLiteral();
                passNeededWhite();
            }
            passLiteral();
            doc.passWhite();
        }
        if (doc.peek(badType) == '[') {
            doc.in.consume(1);
            passSubset();
            doc.passWhite();
        }
        doc.expect(">", badType);
    }

private:
    /// Passes over the declarations in the document type, and their closing bracket.
    void passSubset() {
        for (;;) {
            doc.passWhite();
            const char next = doc.peek(badType);
            if (next == ']') {
                doc.in.consume(1);
                return;
            }
            if (next == '%') {
                doc.in.consume(1);
                passName();
                doc.expect(";", badType);
            } else if (next != '<') {
                doc.fail(badType);
            } else if (doc.byteAt(1) == '?') {
                doc.passInstruction();
            } else if (doc.byteAt(1) == '!' && doc.byteAt(2) == '-') {
                passComment();
            } else {
                passMarkupDeclaration();
            }
        }
    }

    void passComment() {
        doc.expect("<!--", badType);
        for (;;) {
            doc.passTo('-', badType);
            if (doc.peek(badType) == '-') {
                doc.in.consume(1);
                doc.expect(">", u"'--' in a comment.");
                return;
            }
        }
    }

    void passMarkupDeclaration() {
        constexpr std::string_view kinds[] = {"<!ELEMENT", "<!ATTLIST", "<!ENTITY", "<!NOTATION"};
        const char third = doc.byteAt(2);
        const char fourth = doc.byteAt(3);
        for (const std::string_view kind : kinds) {
            if (third == kind[2] && fourth == kind[3]) {
                doc.expect(kind, badType);
                passNeededWhite();
                for (char next = doc.peek(badType); next != '>'; next = doc.peek(badType)) {
                    if (next == '"' || next == '\'') {
                        passLiteral();
                    } else if (next == '<') {
                        doc.fail(badType);
                    } else {
                        doc.in.consume(1);
                    }
                }
                doc.in.consume(1);
                return;
            }
        }
        doc.refuse(3, badType);
    }

    void passLiteral() {
        const char quote = doc.peek(badType);
        if (quote != '"' && quote != '\'') {
            doc.fail(badType);
        }
        doc.in.consume(1);
        doc.passTo(quote, badType);
    }

    void passPublicLiteral() {
        const char quote = doc.peek(badType);
        if (quote != '"' && quote != '\'') {
            doc.fail(badType);
        }
        doc.in.consume(1);
        for (char next = doc.peek(badType); next != quote; next = doc.peek(badType)) {
            if (publicCharacters.find(next) == std::string_view::npos) {
                doc.fail(badType);
            }
            doc.in.consume(1);
        }
        doc.in.consume(1);
    }

    void passName() {
        const std::size_t length = doc.nameLength(0);
        if (length == 0) {
            doc.refuse(0, badType);
        }
        doc.in.consume(length);
    }

    void passNeededWhite() {
        if (!doc.passWhite()) {
            doc.refuse(0, badType);
        }
    }

    XmlScanner& doc;
};

}  // namespace

std::string readDeclaration(XmlScanner& document) {
    return Declaration(document).read();
}

void passDocumentType(XmlScanner& document) {
    DocumentType(document).pass();
}

}  // namespace moraine::extras
