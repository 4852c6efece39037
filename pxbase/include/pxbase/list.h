// PXList<T>: the doubly linked list every part of the system leans on.
//
// A list holds non-null T* values and owns only its nodes. Its walks
// (PXListWalk) survive the visit removing anything, including the node the
// walk would visit next: each running walk keeps its next node in a slot of
// the list, and every change that unlinks or inserts a node moves those slots.
// Three walks of one list can be nested; a fourth is refused and visits
// nothing (see PXListWalk).
#pragma once

#include <cstdint>

template <class T> class PXListIterator;
template <class T> class PXListWalk;

template <class T>
struct PXListNode {
    T* value;
    PXListNode* prev;
    PXListNode* next;
};

template <class T>
class PXList {
public:
    using Compare = int (*)(T*, T*);
    static constexpr int32_t kMaxWalks = 3;

    constexpr explicit PXList(Compare cmp = nullptr) : compare(cmp) {}
    // Leaves an empty list behind, so a late clear() of a static list finds
    // nothing to free twice.
    ~PXList() {
        PXListNode<T>* first = head;
        head = tail = nullptr;
        count = 0;
        freeNodes(first);
    }
    PXList(const PXList&) = delete;
    PXList& operator=(const PXList&) = delete;

    // After the tail. A running walk that has reached the end (its next node
    // is null) takes the new node as its next, so it still sees the addition.
    void append(T* value) {
        if (!value) return;
        PXListNode<T>* node = new PXListNode<T>{value, tail, nullptr};
        if (tail)
            tail->next = node;
        else
            head = node;
        tail = node;
        ++count;
        for (int32_t i = 0; i <= walkDepth; ++i)
            if (!walks[i]) walks[i] = node;
    }

    // Before the head. Running walks are not touched, so they never see it.
    void prepend(T* value) {
        if (!value) return;
        PXListNode<T>* node = new PXListNode<T>{value, nullptr, head};
        if (head)
            head->prev = node;
        else
            tail = node;
        head = node;
        ++count;
    }

    // Ordered insertion: behind the last node (searching from the tail) for
    // which compare(node, new) is non-zero, so equal keys keep their order of
    // arrival; before everything when there is no such node.
    void add(T* value) {
        if (!value) return;
        if (!compare || !head) {
            append(value);
            return;
        }
        for (PXListNode<T>* n = tail; n; n = n->prev) {
            if (compare(n->value, value)) {
                insertBehind(n, value);
                return;
            }
        }
        prepend(value);
    }

    // Finds the first node holding this very pointer and unlinks it.
    // Returns the value, or null when the list does not hold it.
    T* remove(T* value) {
        PXListIterator<T> it(*this);
        if (!it.find(value)) return nullptr;
        return it.remove();
    }

    bool contains(const T* value) const {
        for (PXListNode<T>* n = head; n; n = n->next)
            if (n->value == value) return true;
        return false;
    }

    // Frees the nodes; the values are the owner's. Every running walk ends
    // (walkDepth goes back to -1): none is left on a freed node, and none
    // picks up what is added afterwards.
    void clear() {
        if (count == 0) return;
        PXListNode<T>* first = head;
        count = 0;
        head = tail = nullptr;
        walkDepth = -1;
        for (int32_t i = 0; i < kMaxWalks; ++i) walks[i] = nullptr;
        freeNodes(first);
    }

    T* first() const { return head ? head->value : nullptr; }
    T* last() const { return tail ? tail->value : nullptr; }
    bool isEmpty() const { return count == 0; }

    Compare compare = nullptr;
    PXListNode<T>* head = nullptr;
    PXListNode<T>* tail = nullptr;
    PXListNode<T>* walks[kMaxWalks] = {nullptr, nullptr, nullptr};
    int32_t walkDepth = -1;
    int32_t count = 0;

private:
    friend class PXListIterator<T>;
    friend class PXListWalk<T>;

    static void freeNodes(PXListNode<T>* n) {
        while (n) {
            PXListNode<T>* next = n->next;
            delete n;
            n = next;
        }
    }

    PXListNode<T>* insertBehind(PXListNode<T>* at, T* value) {
        if (at == tail) {
            append(value);
            return tail;
        }
        PXListNode<T>* following = at->next;
        PXListNode<T>* node = new PXListNode<T>{value, at, following};
        at->next = node;
        following->prev = node;
        ++count;
        for (int32_t i = 0; i <= walkDepth; ++i)
            if (walks[i] == following) walks[i] = node;
        return node;
    }

    void unlink(PXListNode<T>* node) {
        for (int32_t i = 0; i <= walkDepth; ++i)
            if (walks[i] == node) walks[i] = node->next;
        if (node->prev)
            node->prev->next = node->next;
        else
            head = node->next;
        if (node->next)
            node->next->prev = node->prev;
        else
            tail = node->prev;
        --count;
        delete node;
    }
};

// A position in a list: the current node and the list. A new one stands at
// the head.
template <class T>
class PXListIterator {
public:
    explicit PXListIterator(PXList<T>& list) : node_(list.head), list_(&list) {}

    T* value() const { return node_ ? node_->value : nullptr; }
    bool atEnd() const { return node_ == nullptr; }
    void next() {
        if (node_) node_ = node_->next;
    }
    void reset() { node_ = list_->head; }

    // Leaves the iterator on the first node holding this pointer, or on none.
    bool find(const T* value) {
        for (node_ = list_->head; node_; node_ = node_->next)
            if (node_->value == value) return true;
        return false;
    }

    // Unlinks the current node; the iterator moves to the node after it.
    T* remove() {
        if (!node_) return nullptr;
        PXListNode<T>* gone = node_;
        T* value = gone->value;
        node_ = gone->next;
        list_->unlink(gone);
        return value;
    }

    // Puts the value behind the current node (or appends when on none) and
    // moves the iterator to it.
    void insertAfter(T* value) {
        if (!value) return;
        if (!node_) {
            list_->append(value);
            node_ = list_->tail;
            return;
        }
        node_ = list_->insertBehind(node_, value);
    }

private:
    PXListNode<T>* node_;
    PXList<T>* list_;
};

// A walk that allows changes while it runs:
//
//     for (PXListWalk<T> walk(list); T* value = walk.next();) { ... }
//
// The next node is taken before the current value is handed out, so the visit
// may remove or add what it likes. A fourth walk nested inside three running
// ones is refused: it visits nothing and refused() says so. Refusing is the
// only safe answer, since a fourth slot would have to overwrite a running
// walk's position.
template <class T>
class PXListWalk {
public:
    explicit PXListWalk(PXList<T>& list) : list_(list) {
        if (list_.walkDepth + 1 >= PXList<T>::kMaxWalks) {
            refused_ = true;
            return;
        }
        depth_ = ++list_.walkDepth;
        list_.walks[depth_] = list_.head;
    }
    ~PXListWalk() { end(); }
    PXListWalk(const PXListWalk&) = delete;
    PXListWalk& operator=(const PXListWalk&) = delete;

    // The next value, or null when the walk has ended.
    T* next() {
        if (depth_ < 0) return nullptr;
        if (depth_ > list_.walkDepth) {  // ended by clear()
            depth_ = -1;
            return nullptr;
        }
        PXListNode<T>* node = list_.walks[depth_];
        if (!node) {
            end();
            return nullptr;
        }
        list_.walks[depth_] = node->next;
        return node->value;
    }

    bool refused() const { return refused_; }

private:
    void end() {
        if (depth_ < 0) return;
        if (depth_ <= list_.walkDepth) {
            list_.walks[depth_] = nullptr;
            list_.walkDepth = depth_ - 1;
        }
        depth_ = -1;
    }

    PXList<T>& list_;
    int32_t depth_ = -1;
    bool refused_ = false;
};
