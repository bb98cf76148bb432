// The tree that parsed input and output under construction are both made of.
//
// A TreeNode is the first part of every item, so an item can be handled as a node. A node owns its children; who holds
// a root frees the tree with Tree_FreeSubtree. Children stand in the order in which they were appended. Nothing here
// recurses, so a tree may be as deep as memory allows.
#ifndef ZELSPI_CORE_ASN1_TREE_H
#define ZELSPI_CORE_ASN1_TREE_H

#include "core/memory/memory.h"

#include <utility>

struct TreeNode {
    TreeNode* parent;                // null for a root or a detached node
    TreeNode* firstChild;            // null if none
    TreeNode* nextSibling;           // null for the last
    void (*dispose)(TreeNode* node); // optional; called just before the node's memory is freed
};

// Tree_AppendChild: puts a detached node, with all that hangs below it, at the end of parent's child list.
// In/out:  takes time in proportion to the number of children; the subtree of child must not contain parent.
// Errors:  ERR_NULL_POINTER parent or child null; ERR_TREE_LINKEDCHILD child has a parent or a next sibling.
Status Tree_AppendChild(TreeNode* parent, TreeNode* child);

// Tree_FreeSubtree: frees a detached node and everything below it, children before their parent. By the time a node's
// dispose function runs, its children are gone and the node has left its parent's list.
// Errors:  ERR_NULL_POINTER node null; ERR_TREE_LINKEDCHILD node has a parent or a next sibling. Nothing is then freed.
Status Tree_FreeSubtree(TreeNode* node);

// treeFreeChildren: frees everything below node and leaves node itself where it is. Nothing here takes a single child
// out of a list: children leave with all their siblings, or with the whole tree.
void treeFreeChildren(TreeNode* node);

// treeAppendAfter: Tree_AppendChild for a caller that remembers where the list ends, in constant time.
// In/out:  *last is some child of parent, best the last one, or any other node or null to look from the first; becomes
//          child. It must not be a node that has been freed.
void treeAppendAfter(TreeNode* parent, TreeNode** last, TreeNode* child);

// treeNewNode: a new detached node of a type derived from TreeNode. All zero, but that its dispose function wipes the
// whole node: items hold addresses and small values of key material. A caller that sets another dispose function takes
// over the wiping.
// Errors:  ERR_NULL_POINTER node null; ERR_MEM_ALLOC_FAIL, *node is then null.
template <typename Node> Status treeNewNode(Node** node) {
    RETURN_IF_ERROR(memAllocRecord(node));
    (*node)->dispose = [](TreeNode* wiped) {
        memWipe(static_cast<Node*>(wiped), sizeof(Node));
    };
    return OK;
}

// ScopedTree: holds the root of a tree and frees the tree when it leaves its scope.
template <typename Node> class ScopedTree {
public:
    ScopedTree() = default;
    ScopedTree(const ScopedTree&) = delete;
    ScopedTree& operator=(const ScopedTree&) = delete;
    ~ScopedTree() {
        (void)Tree_FreeSubtree(root_); // an empty holder has nothing to free
    }

    // out: where a function that makes a tree may put it; for an empty holder only.
    Node** out() {
        return &root_;
    }
    Node* get() const {
        return root_;
    }
    Node* operator->() const {
        return root_;
    }
    // release: hands the tree to the caller.
    Node* release() {
        return std::exchange(root_, nullptr);
    }

private:
    Node* root_ = nullptr;
};

#endif
