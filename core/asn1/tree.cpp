#include "core/asn1/tree.h"

namespace {

bool isLinked(const TreeNode* node) {
    return node->parent != nullptr || node->nextSibling != nullptr;
}

void freeNode(TreeNode* node) {
    if (node->dispose != nullptr) {
        node->dispose(node);
    }
    void* block = node;
    (void)memFree(&block); // fails for null only
}

} // namespace

void treeAppendAfter(TreeNode* parent, TreeNode** last, TreeNode* child) {
    const bool isChild = *last != nullptr && (*last)->parent == parent;
    TreeNode** link = isChild ? &(*last)->nextSibling : &parent->firstChild;
    while (*link != nullptr) {
        link = &(*link)->nextSibling;
    }
    *link = child;
    child->parent = parent;
    *last = child;
}

Status Tree_AppendChild(TreeNode* parent, TreeNode* child) {
    if (parent == nullptr || child == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (isLinked(child)) {
        return ERR_TREE_LINKEDCHILD;
    }
    TreeNode* last = nullptr;
    treeAppendAfter(parent, &last, child);
    return OK;
}

void treeFreeChildren(TreeNode* node) {
    TreeNode* current = node;
    for (;;) {
        while (current->firstChild != nullptr) {
            current = current->firstChild;
        }
        if (current == node) {
            return;
        }
        // current is a leaf and the first of its siblings: the next one takes its place, or the parent becomes a leaf.
        TreeNode* const parent = current->parent;
        parent->firstChild = current->nextSibling;
        freeNode(current);
        current = parent;
    }
}

Status Tree_FreeSubtree(TreeNode* node) {
    if (node == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (isLinked(node)) {
        return ERR_TREE_LINKEDCHILD;
    }
    treeFreeChildren(node);
    freeNode(node);
    return OK;
}
