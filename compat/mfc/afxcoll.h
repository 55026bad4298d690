#pragma once
// The part of MFC's collections that the library's interface uses.

#include "afx.h"

/// A place in a list; null is none.
struct __POSITION {}; // NOLINT(bugprone-reserved-identifier): MFC's own name
using POSITION = __POSITION*;

/// A list of pointers that it does not own. A position stays valid until its own node is removed.
class CPtrList {
public:
    /// MFC takes its nodes in blocks of this size; here each is taken alone.
    explicit CPtrList(INT_PTR blockSize = 10) { (void)blockSize; }
    ~CPtrList() { RemoveAll(); }
    CPtrList(const CPtrList&) = delete;
    CPtrList& operator=(const CPtrList&) = delete;

    INT_PTR GetCount() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    POSITION GetHeadPosition() const { return ToPosition(m_head); }
    void*& GetNext(POSITION& position) {
        Node* const node = ToNode(position);
        position = ToPosition(node->next);
        return node->data;
    }
    const void* GetNext(POSITION& position) const { return const_cast<CPtrList*>(this)->GetNext(position); }
    void*& GetAt(POSITION position) { return ToNode(position)->data; }
    const void* GetAt(POSITION position) const { return ToNode(position)->data; }
    void SetAt(POSITION position, void* data) { ToNode(position)->data = data; }
    POSITION AddTail(void* data) {
        Node* const node = new Node{nullptr, m_tail, data};
        (m_tail ? m_tail->next : m_head) = node;
        m_tail = node;
        ++m_count;
        return ToPosition(node);
    }
    void RemoveAt(POSITION position) {
        Node* const node = ToNode(position);
        (node->previous ? node->previous->next : m_head) = node->next;
        (node->next ? node->next->previous : m_tail) = node->previous;
        --m_count;
        delete node;
    }
    void RemoveAll() {
        while (Node* const node = m_head) {
            m_head = node->next;
            delete node;
        }
        m_tail = nullptr;
        m_count = 0;
    }

private:
    struct Node : __POSITION {
        Node(Node* nextNode, Node* previousNode, void* pointer)
            : next(nextNode), previous(previousNode), data(pointer) {}
        Node* next;
        Node* previous;
        void* data;
    };
    static Node* ToNode(POSITION position) { return static_cast<Node*>(position); }
    static POSITION ToPosition(Node* node) { return node; }

    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    INT_PTR m_count = 0;
};
