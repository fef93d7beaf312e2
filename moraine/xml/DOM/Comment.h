#pragma once

#include "moraine/xml/DOM/Node.h"

namespace moraine::xml::DOM {

/// A comment, whose text is the node's value.
class MORAINE_API Comment : public Node {
public:
    Comment();
    ~Comment() override;

    int getNodeType() override;

    /// `<!--value-->`, whatever the value holds.
    OwnedWideString getString() override;

    /// `<!--value-->`, the value with references.
    OwnedWideString getReferenceString() override;

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::xml::DOM
