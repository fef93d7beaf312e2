#pragma once

namespace moraine::xml::DOM {

/// The kinds of nodes, as `Node::getNodeType` gives them.
enum NodeType : int {
    documentNode = 0,     ///< `Document`
    declarationNode = 1,  ///< `Declaration`
    elementNode = 2,      ///< `Element`
    attrNode = 3,         ///< `Attr`
    commentNode = 4,      ///< `Comment`
    textNode = 5,         ///< `Text`
};

}  // namespace moraine::xml::DOM
