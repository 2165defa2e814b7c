// FreeHoleQueue: a FIFO of subtrees of free holes waiting for a container.
// The queue owns the subtrees while they wait: clear() and the destructor
// delete any that are still queued.
#pragma once

class ExportOutLineTree;

class FreeHoleQueue {
public:
    FreeHoleQueue() = default;
    ~FreeHoleQueue() { clear(); }
    FreeHoleQueue(const FreeHoleQueue&) = delete;
    FreeHoleQueue& operator=(const FreeHoleQueue&) = delete;

    // Appends tree; false (tree not taken) when no entry can be made.
    bool push(ExportOutLineTree* tree);
    // Removes and returns the front tree; null when empty.
    ExportOutLineTree* pop();
    // Moves all of other's entries, in order, to the back of this queue.
    void append(FreeHoleQueue& other);
    bool empty() const { return head == nullptr; }
    int count() const;
    // Deletes every queued tree.
    void clear();

protected:
    struct Entry {
        ExportOutLineTree* tree;
        Entry* next;
    };
    Entry* head = nullptr;
    Entry* tail = nullptr;
};
