#pragma once

#include "moraine/xml/DOM/Node.h"

namespace moraine::xml::DOM {

/// A tag: a name and attributes. One object stands for a start tag, an empty tag or an end tag.
///
/// The text form is that of the tag alone, never of the children:
/// - `<name a="1"/>` without children and `<name a="1">` with any; `isEmpty` has no part in that;
/// - `</name>` where `isEnd` is set, with attributes if there are any.
///
/// The name is written as it is in both forms; each attribute renders itself.
class MORAINE_API Element : public Node {
public:
    Element();
    ~Element() override;

    int getNodeType() override;
    OwnedWideString getString() override;
    OwnedWideString getReferenceString() override;

    /// Notes whether the tag was written in the self-closing form. False at first.
    void setEmpty(bool isEmptyTag);
    /// What `setEmpty` noted.
    bool isEmpty();

    /// Notes whether this is an end tag. False at first.
    void setEnd(bool isEndTag);
    /// What `setEnd` noted.
    bool isEnd();

protected:
    const WideChar* getClassName() const override;

private:
    /// The tag, with each attribute rendered by the operation given.
    MORAINE_HIDDEN OwnedWideString tag(OwnedWideString (Node::*formOf)());

    bool empty = false;
    bool end = false;
};

}  // namespace moraine::xml::DOM
