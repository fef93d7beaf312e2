#pragma once

#include "moraine/xml/DOM/Node.h"

namespace moraine::xml::DOM {

/// Character data, which is the node's value.
class MORAINE_API Text : public Node {
public:
    Text();
    ~Text() override;

    int getNodeType() override;

    /// The value.
    OwnedWideString getString() override;

    /// The value with references.
    OwnedWideString getReferenceString() override;

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::xml::DOM
