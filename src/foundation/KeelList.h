#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

namespace quillon {

class CKeelList;

// One node of a list. Made and freed by its list only.
class CKeelListElement {
public:
    void* Payload() const { return m_payload; }
    CKeelListElement* Next() const { return m_next; }
    CKeelListElement* Previous() const { return m_previous; }

private:
    friend class CKeelList;
    explicit CKeelListElement(void* payload) : m_payload(payload) {}

    void* m_payload;
    CKeelListElement* m_next = nullptr;
    CKeelListElement* m_previous = nullptr;
};

// CKeelList is a doubly linked list of borrowed payloads.
//
//   Ownership  Elements are the list's; payloads never are. Removal returns the
//              payload and frees the element; whoever owns the list frees the
//              payloads (COwnedList below does it by itself).
//   Errors     null and false. Adding throws std::bad_alloc when memory runs out.
//   Threads    None; callers hold their owner's lock.
//   Subclasses May replace any operation. What one operation does by way of another
//              (RemoveHead by Remove), it does by the replaced one.
//
// Elements passed in must belong to this list.
class CKeelList {
public:
    // Negative when `a` comes before `b`, 0 when they are even.
    using CompareFunction = int (*)(const void* a, const void* b, void* context);

    CKeelList() = default;
    CKeelList(const CKeelList&) = delete;
    CKeelList& operator=(const CKeelList&) = delete;
    // The other list is empty afterwards.
    CKeelList(CKeelList&& other) noexcept;
    virtual ~CKeelList();

    virtual int32_t Count() const { return m_count; }
    virtual bool IsEmpty() const { return Head() == nullptr; }
    virtual CKeelListElement* Head() const { return m_head; }
    virtual CKeelListElement* Tail() const { return m_tail; }

    virtual CKeelListElement* AddHead(void* payload);
    virtual CKeelListElement* AddTail(void* payload);
    virtual CKeelListElement* InsertBefore(CKeelListElement* element, void* payload);
    virtual CKeelListElement* InsertAfter(CKeelListElement* element, void* payload);

    // The first element with that payload (the same address), null for none.
    virtual CKeelListElement* Find(const void* payload) const;

    // The payload of the element, which is freed; null for null.
    virtual void* Remove(CKeelListElement* element);
    // Null when the list is empty.
    virtual void* RemoveHead();
    virtual void* RemoveTail();
    // Frees the first element with that payload; false for none.
    virtual bool RemovePayload(const void* payload);
    // Frees all elements and no payload.
    virtual void Clear();

    // Merge sort: stable, n log n, no memory. Elements stay where they are in
    // memory and change their order only.
    virtual void Sort(CompareFunction compare, void* context = nullptr);

protected:
    CKeelListElement* Link(void* payload, CKeelListElement* previous, CKeelListElement* next);
    void FreeElements();
    void Swap(CKeelList& other) noexcept;

private:
    CKeelListElement* m_head = nullptr;
    CKeelListElement* m_tail = nullptr;
    int32_t m_count = 0;
};

// Walks a list in both directions:
//
//     CKeelListIterator walk(list);
//     for (void* payload = walk.First(); walk.IsValid(); payload = walk.Next()) ...
//
// A null payload is a payload: ask IsValid() for the end. The element walked on
// may be removed only through RemoveCurrent().
class CKeelListIterator {
public:
    // Stands before the first element until First() or Last() is called.
    explicit CKeelListIterator(CKeelList& list) : m_list(&list) {}
    virtual ~CKeelListIterator() = default;

    // Each returns the payload now stood on, null at the end (or at a null payload).
    virtual void* First();
    virtual void* Last();
    virtual void* Next();
    virtual void* Previous();
    virtual void* Current() const;
    virtual bool IsValid() const { return m_element != nullptr; }
    virtual CKeelListElement* Element() const { return m_element; }
    // Frees the element, returns its payload and steps to the next element.
    virtual void* RemoveCurrent();

private:
    CKeelList* m_list;
    CKeelListElement* m_element = nullptr;
};

// A list that owns its payloads, all of type T or derived from it (T then needs
// a virtual destructor). Move-only; walks with range-for over T&.
//
// Removal through CKeelList's operations hands the payload, and the duty to
// delete it, to the caller; Clear() and the destructor delete what is left.
template <typename T>
class COwnedList : public CKeelList {
public:
    template <bool IsConst>
    class Walker {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = std::conditional_t<IsConst, const T&, T&>;
        using pointer = std::conditional_t<IsConst, const T*, T*>;

        Walker() = default;
        Walker(const COwnedList* list, CKeelListElement* element)
            : m_list(list), m_element(element) {}
        operator Walker<true>() const { return {m_list, m_element}; }

        reference operator*() const { return *static_cast<T*>(m_element->Payload()); }
        pointer operator->() const { return static_cast<T*>(m_element->Payload()); }
        Walker& operator++() {
            m_element = m_element->Next();
            return *this;
        }
        Walker operator++(int) {
            Walker old(*this);
            ++*this;
            return old;
        }
        Walker& operator--() {
            m_element = m_element ? m_element->Previous() : m_list->Tail();
            return *this;
        }
        Walker operator--(int) {
            Walker old(*this);
            --*this;
            return old;
        }
        CKeelListElement* Element() const { return m_element; }
        friend bool operator==(const Walker& a, const Walker& b) {
            return a.m_element == b.m_element;
        }

    private:
        const COwnedList* m_list = nullptr;
        CKeelListElement* m_element = nullptr;
    };
    using iterator = Walker<false>;
    using const_iterator = Walker<true>;

    COwnedList() = default;
    COwnedList(COwnedList&& other) noexcept = default;
    COwnedList& operator=(COwnedList&& other) noexcept {
        COwnedList taken(std::move(other));
        Swap(taken);
        return *this;
    }
    ~COwnedList() override { DeletePayloads(); }

    // Adds at the tail and returns the payload, which the list now owns.
    T* Add(std::unique_ptr<T> payload) {
        AddTail(payload.get());
        return payload.release();
    }
    template <typename... Args>
    T& Emplace(Args&&... args) {
        return *Add(std::make_unique<T>(std::forward<Args>(args)...));
    }

    size_t Size() const { return static_cast<size_t>(Count()); }
    // Null when the list is empty.
    T* Front() { return IsEmpty() ? nullptr : static_cast<T*>(Head()->Payload()); }
    T* Back() { return IsEmpty() ? nullptr : static_cast<T*>(Tail()->Payload()); }
    const T* Front() const { return IsEmpty() ? nullptr : static_cast<T*>(Head()->Payload()); }
    const T* Back() const { return IsEmpty() ? nullptr : static_cast<T*>(Tail()->Payload()); }

    // Removal that keeps hold of the payload.
    std::unique_ptr<T> Take(CKeelListElement* element) {
        return std::unique_ptr<T>(static_cast<T*>(Remove(element)));
    }
    std::unique_ptr<T> TakeFront() { return std::unique_ptr<T>(static_cast<T*>(RemoveHead())); }
    // Deletes the payloads for which `matches(const T&)` holds; returns their number.
    template <typename Predicate>
    size_t RemoveIf(Predicate matches) {
        size_t removed = 0;
        for (CKeelListElement* element = Head(); element;) {
            CKeelListElement* const next = element->Next();
            if (matches(*static_cast<const T*>(element->Payload()))) {
                Take(element).reset();
                ++removed;
            }
            element = next;
        }
        return removed;
    }

    using CKeelList::Sort;
    // Stable; `isBefore(const T&, const T&)` is a strict weak order.
    template <typename Less>
    requires std::is_invocable_r_v<bool, Less&, const T&, const T&>
    void Sort(Less isBefore) {
        Sort(
            [](const void* a, const void* b, void* context) {
                // The list only moves a later element forward when it is before.
                Less& less = *static_cast<Less*>(context);
                const T& first = *static_cast<const T*>(a);
                const T& second = *static_cast<const T*>(b);
                if (less(second, first)) return 1;
                return less(first, second) ? -1 : 0;
            },
            &isBefore);
    }

    void Clear() override {
        DeletePayloads();
        FreeElements();
    }

    iterator begin() { return {this, Head()}; }
    iterator end() { return {this, nullptr}; }
    const_iterator begin() const { return {this, Head()}; }
    const_iterator end() const { return {this, nullptr}; }

private:
    void DeletePayloads() {
        for (CKeelListElement* element = Head(); element; element = element->Next()) {
            delete static_cast<T*>(element->Payload());
        }
    }
};

}  // namespace quillon
