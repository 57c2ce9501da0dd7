#include <ykstd/ykstd_MapNode.hxx>

ykstd_MapNode::~ykstd_MapNode() = default;

YKSTD_IMPLEMENT_TYPE(ykstd_MapNode, ykstd_TShared)
