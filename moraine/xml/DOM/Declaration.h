#pragma once

#include "moraine/xml/DOM/Node.h"

namespace moraine::xml::DOM {

/// The XML declaration at the head of a document: version, encoding and standalone.
///
/// An attribute that is added sets the field of its name, which is compared without regard to case; one that is
/// removed puts the field back to its default, even if another of that name stays. The setters change the fields
/// alone; a null text counts as empty for them. The text form is made of the fields: all three, always, in the order
/// version, encoding, standalone, with nothing escaped; other attributes, their order and children have no part in it.
class MORAINE_API Declaration : public Node {
public:
    /// Version "1.0", encoding "utf-8", standalone true: the defaults.
    Declaration();
    ~Declaration() override;

    /// Replaces the version by a copy of zero-terminated text, in which no references are resolved.
    void setVersion(const WideChar* text);

    /// The version. Belongs to the declaration and is good until it changes.
    const WideChar* getVersion() const;

    /// Replaces the encoding by a copy of zero-terminated text, in which no references are resolved.
    void setEncoding(const WideChar* text);

    /// The encoding. Belongs to the declaration and is good until it changes.
    const WideChar* getEncoding() const;

    /// Sets standalone to whether the zero-terminated text is "yes" in any case of letters.
    void setStandalone(const WideChar* text);
    /// Whether the document stands alone.
    bool getStandalone();

    int getNodeType() override;
    OwnedWideString getString() override;

    /// The same as `getString`.
    OwnedWideString getReferenceString() override;

    /// Adds an attribute, and takes over its value if its name is one of the three. An absent value counts as empty.
    void appendAttribute(Node* attribute) override;

    /// As `appendAttribute`, before the attribute at @p index.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    void insertAttribute(Node* attribute, unsigned int index) override;

    /// Destroys an attribute; if its name is one of the three, that field has its default again.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    void removeAttribute(unsigned int index) override;

    /// Destroys all attributes; all three fields have their defaults again.
    void removeAllAttributes() override;

protected:
    const WideChar* getClassName() const override;

private:
    /// What an attribute sets; null and the present value where it sets nothing.
    struct MORAINE_HIDDEN Change {
        std::unique_ptr<WideChar[]> version;
        std::unique_ptr<WideChar[]> encoding;
        bool standalone;
    };

    MORAINE_HIDDEN Change changeBy(const Node* attribute) const;
    MORAINE_HIDDEN void addAttrProc(Change change) noexcept;

    std::unique_ptr<WideChar[]> version;
    std::unique_ptr<WideChar[]> encoding;
    bool standalone = true;
};

}  // namespace moraine::xml::DOM
