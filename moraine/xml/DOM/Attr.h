#pragma once

#include "moraine/xml/DOM/Node.h"

namespace moraine::xml::DOM {

/// An attribute: a name and a value.
class MORAINE_API Attr : public Node {
public:
    Attr();
    ~Attr() override;

    int getNodeType() override;

    /// `name="value"`.
    OwnedWideString getString() override;

    /// `name="value"`, both with references.
    OwnedWideString getReferenceString() override;

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::xml::DOM
