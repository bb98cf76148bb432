#include "core/asn1/asn1_parse.h"

#include "core/asn1/internal/asn1_content.h"
#include "core/asn1/internal/asn1_header.h"

namespace {

// The depth of the synthetic root is 1, so that 40 levels of items nest.
constexpr std::uint32_t kMaxDepth = 41;

// What the driver does next.
enum class Step {
    readHeader,  // of the next item in the current parent
    takeContent, // of the item just read
    closeItem,   // the item is complete: so may be its parent
};

// An item whose content is being read, or the synthetic root.
struct OpenItem {
    Asn1Node* node;
    TreeNode* lastChild; // so that appending does not walk the list
    std::uint64_t limit; // the end of the innermost string parsed as nested DER that this is in
};

// The whole state of a parse between two steps: it can be left and taken up again at any of them.
struct ParseState {
    ByteStream stream;
    Asn1ParseCallback callback;
    void* callbackArg;
    std::uint64_t streamEnd;
    std::uint32_t position; // where to take up reading
    Step next;
    Asn1Node* item;           // for takeContent and closeItem
    std::uint32_t depth;      // the number of open items; the parse is complete at 0
    OpenItem open[kMaxDepth]; // outermost first

    OpenItem& parent() {
        return open[depth - 1];
    }
};

void openItem(ParseState& state, Asn1Node* node, std::uint64_t limit) {
    state.open[state.depth++] = {node, nullptr, limit};
    state.next = Step::readHeader;
}

Status readHeader(ParseState& state) {
    if (state.depth >= kMaxDepth) {
        return ERR_CERT_STACK_OVERFLOW;
    }
    OpenItem& parent = state.parent();
    if (state.position >= parent.limit) {
        return ERR_ASN_INCONSISTENT_LENGTH; // as in asn1TakeContent: nothing behind a string is read inside it
    }
    ScopedTree<Asn1Node> item;
    RETURN_IF_ERROR(treeNewNode(item.out()));
    RETURN_IF_ERROR(asn1ReadHeader(state.stream, state.position, item.get()));
    treeAppendAfter(parent.node, &parent.lastChild, item.get());
    state.item = item.release();
    state.position = state.item->dataOffset;
    state.next = Step::takeContent;
    return OK;
}

Status takeContent(ParseState& state) {
    Asn1Node* const item = state.item;
    if (state.callback != nullptr) {
        state.callback(item, state.stream, state.callbackArg);
    }
    RETURN_IF_ERROR(asn1Seek(state.stream, state.position));
    const std::uint64_t limit = state.parent().limit;
    bool descends = false;
    RETURN_IF_ERROR(asn1TakeContent(state.stream, {state.streamEnd, limit}, item, &descends));
    if (descends) {
        state.position = item->dataOffset;
        openItem(state, item, item->encapsulates ? asn1ContentEnd(item) : limit);
    } else {
        state.position = static_cast<std::uint32_t>(asn1ContentEnd(item));
        state.next = Step::closeItem;
    }
    return OK;
}

Status closeItem(ParseState& state) {
    Asn1Node* const parent = state.parent().node;
    bool isComplete = state.depth == 1; // one item is all that the root takes
    if (parent->indefinite) {
        // Whatever its length or the form of its tag number, surplus content and all.
        isComplete = state.item->id == kAsn1Universal && state.item->tag == kAsn1EndOfContents;
    } else if (!isComplete) {
        if (state.position > asn1ContentEnd(parent)) {
            return ERR_ASN_INCONSISTENT_LENGTH;
        }
        isComplete = state.position == asn1ContentEnd(parent);
    }
    if (isComplete) {
        state.item = parent;
        --state.depth;
    } else {
        state.next = Step::readHeader;
    }
    return OK;
}

// Turns the innermost string that was taken for nested DER back into an ordinary one and goes on behind it. The failure
// stands when there is no such string, or when it says nothing about the input.
Status fallBack(ParseState& state, Status failure) {
    if (asn1IsFatal(failure)) {
        return failure;
    }
    while (state.depth > 1 && !state.parent().node->encapsulates) {
        --state.depth;
    }
    if (state.depth == 1) {
        return failure;
    }
    Asn1Node* const string = state.parent().node;
    treeFreeChildren(string);
    string->encapsulates = false;
    --state.depth;
    state.item = string;
    state.position = static_cast<std::uint32_t>(asn1ContentEnd(string));
    state.next = Step::closeItem;
    return OK;
}

Status runStep(ParseState& state) {
    switch (state.next) {
    case Step::readHeader:
        return readHeader(state);
    case Step::takeContent:
        return takeContent(state);
    case Step::closeItem:
        return closeItem(state);
    }
    return ERR_GENERAL;
}

Status run(ParseState& state) {
    while (state.depth > 0) {
        if (const Status status = runStep(state); isError(status)) {
            RETURN_IF_ERROR(fallBack(state, status));
        }
    }
    return OK;
}

// Finds where the stream stands and where it ends.
Status measure(ByteStream stream, std::uint32_t* position, std::uint64_t* streamEnd) {
    bool isAtEnd = false;
    RETURN_IF_ERROR(stream.operations->eof(stream.handle, &isAtEnd));
    if (isAtEnd) {
        return ERR_EOF;
    }
    std::int32_t start = 0;
    std::int32_t end = 0;
    RETURN_IF_ERROR(stream.operations->tell(stream.handle, &start));
    RETURN_IF_ERROR(stream.operations->seek(stream.handle, 0, kSeekBackFromEnd));
    RETURN_IF_ERROR(stream.operations->tell(stream.handle, &end));
    if (start < 0 || end < start) {
        return ERR_FALSE; // a stream that answers so is broken; positions below 0 would count as nearly 2^32
    }
    *position = static_cast<std::uint32_t>(start);
    *streamEnd = static_cast<std::uint64_t>(end);
    return OK;
}

} // namespace

Status Asn1_ParseStream(ByteStream stream, Asn1Node** rootOut) {
    return Asn1_ParseStreamEx(stream, rootOut, nullptr, nullptr);
}

Status Asn1_ParseStreamEx(ByteStream stream, Asn1Node** rootOut, Asn1ParseCallback callback, void* callbackArg) {
    if (rootOut == nullptr) {
        return ERR_NULL_POINTER;
    }
    *rootOut = nullptr;
    if (stream.operations == nullptr) {
        return ERR_NULL_POINTER;
    }
    ParseState state{};
    state.stream = stream;
    state.callback = callback;
    state.callbackArg = callbackArg;
    RETURN_IF_ERROR(measure(stream, &state.position, &state.streamEnd));
    ScopedTree<Asn1Node> root;
    RETURN_IF_ERROR(memAllocRecord(root.out()));
    openItem(state, root.get(), kAsn1NoLimit);
    RETURN_IF_ERROR(run(state));
    RETURN_IF_ERROR(asn1Seek(stream, state.position));
    *rootOut = root.release();
    return OK;
}
