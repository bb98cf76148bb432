#include "core/asn1/tree.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct NamedNode : TreeNode {
    char name;
};

std::string freed; // the names of the nodes disposed of, each with a '!' if it still has children

NamedNode* newNode(char name) {
    NamedNode* node = nullptr;
    EXPECT_EQ(treeNewNode(&node), OK);
    node->name = name;
    node->dispose = [](TreeNode* disposed) {
        freed += static_cast<NamedNode*>(disposed)->name;
        freed += disposed->firstChild != nullptr ? "!" : "";
    };
    return node;
}

TEST(Tree, AppendsInOrderAndFreesChildrenFirst) {
    NamedNode* const a = newNode('a');
    NamedNode* const b = newNode('b');
    NamedNode* const c = newNode('c');
    NamedNode* const d = newNode('d');
    EXPECT_EQ(Tree_AppendChild(b, d), OK); // a subtree is appended whole
    EXPECT_EQ(Tree_AppendChild(a, b), OK);
    EXPECT_EQ(Tree_AppendChild(a, c), OK);
    EXPECT_EQ(Tree_AppendChild(c, newNode('e')), OK);
    EXPECT_EQ(a->firstChild, b);
    EXPECT_EQ(b->nextSibling, c);
    EXPECT_EQ(c->parent, a);

    EXPECT_EQ(Tree_AppendChild(c, d), ERR_TREE_LINKEDCHILD);
    EXPECT_EQ(Tree_AppendChild(nullptr, a), ERR_NULL_POINTER);
    EXPECT_EQ(Tree_AppendChild(a, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Tree_FreeSubtree(nullptr), ERR_NULL_POINTER);
    TreeNode before{nullptr, nullptr, a, nullptr}; // no parent, but a sibling
    for (TreeNode* const linked : {static_cast<TreeNode*>(b), static_cast<TreeNode*>(c), &before}) {
        EXPECT_EQ(Tree_FreeSubtree(linked), ERR_TREE_LINKEDCHILD);
    }
    EXPECT_EQ(freed, "");
    treeFreeChildren(b);
    EXPECT_EQ(freed, "d");
    EXPECT_EQ(Tree_FreeSubtree(a), OK);
    EXPECT_EQ(freed, "dbeca");
}

} // namespace
