#pragma once

#include "moraine/xml/DOM/Node.h"

namespace moraine::xml::DOM {

/// The root of a tree. By habit its children are the declaration, then the top-level elements and comments.
class MORAINE_API Document : public Node {
public:
    Document();
    ~Document() override;

    int getNodeType() override;

    /// An empty text, whatever the node holds.
    OwnedWideString getString() override;

    /// An empty text, whatever the node holds.
    OwnedWideString getReferenceString() override;

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::xml::DOM
