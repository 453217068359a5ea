#include "foundation/KeelList.h"

#include <cstdlib>
#include <new>

namespace quillon {

CKeelList::CKeelList(CKeelList&& other) noexcept {
    Swap(other);
}

CKeelList::~CKeelList() {
    FreeElements();
}

void CKeelList::Swap(CKeelList& other) noexcept {
    std::swap(m_head, other.m_head);
    std::swap(m_tail, other.m_tail);
    std::swap(m_count, other.m_count);
}

void CKeelList::FreeElements() {
    for (CKeelListElement* element = m_head; element;) {
        CKeelListElement* const next = element->m_next;
        std::free(element);
        element = next;
    }
    m_head = nullptr;
    m_tail = nullptr;
    m_count = 0;
}

CKeelListElement* CKeelList::Link(void* payload, CKeelListElement* previous,
                                  CKeelListElement* next) {
    void* const block = std::malloc(sizeof(CKeelListElement));
    if (!block) throw std::bad_alloc();
    auto* const element = new (block) CKeelListElement(payload);
    element->m_previous = previous;
    element->m_next = next;
    (previous ? previous->m_next : m_head) = element;
    (next ? next->m_previous : m_tail) = element;
    ++m_count;
    return element;
}

CKeelListElement* CKeelList::AddHead(void* payload) {
    return Link(payload, nullptr, m_head);
}

CKeelListElement* CKeelList::AddTail(void* payload) {
    return Link(payload, m_tail, nullptr);
}

CKeelListElement* CKeelList::InsertBefore(CKeelListElement* element, void* payload) {
    return Link(payload, element->m_previous, element);
}

CKeelListElement* CKeelList::InsertAfter(CKeelListElement* element, void* payload) {
    return Link(payload, element, element->m_next);
}

CKeelListElement* CKeelList::Find(const void* payload) const {
    CKeelListElement* element = m_head;
    while (element && element->m_payload != payload) element = element->m_next;
    return element;
}

void* CKeelList::Remove(CKeelListElement* element) {
    if (!element) return nullptr;
    (element->m_previous ? element->m_previous->m_next : m_head) = element->m_next;
    (element->m_next ? element->m_next->m_previous : m_tail) = element->m_previous;
    --m_count;
    void* const payload = element->m_payload;
    std::free(element);
    return payload;
}

void* CKeelList::RemoveHead() {
    return Remove(m_head);
}

void* CKeelList::RemoveTail() {
    return Remove(m_tail);
}

bool CKeelList::RemovePayload(const void* payload) {
    CKeelListElement* const element = Find(payload);
    if (!element) return false;
    Remove(element);
    return true;
}

void CKeelList::Clear() {
    FreeElements();
}

// Bottom-up: merges neighbouring runs of 1, 2, 4... elements along the forward
// links until one run is left, then lays the backward links anew.
void CKeelList::Sort(CompareFunction compare, void* context) {
    for (int64_t width = 1; width < m_count; width *= 2) {
        CKeelListElement* rest = m_head;
        CKeelListElement** link = &m_head;
        while (rest) {
            CKeelListElement* left = rest;
            CKeelListElement* right = rest;
            int64_t leftSize = 0;
            while (leftSize < width && right) {
                right = right->m_next;
                ++leftSize;
            }
            int64_t rightSize = width;
            while (leftSize > 0 || (rightSize > 0 && right)) {
                const bool takeRight =
                    leftSize == 0 || (rightSize > 0 && right &&
                                      compare(left->m_payload, right->m_payload, context) > 0);
                CKeelListElement*& from = takeRight ? right : left;
                --(takeRight ? rightSize : leftSize);
                *link = from;
                link = &from->m_next;
                from = from->m_next;
            }
            rest = right;
        }
        *link = nullptr;
    }
    m_tail = nullptr;
    for (CKeelListElement* element = m_head; element; element = element->m_next) {
        element->m_previous = m_tail;
        m_tail = element;
    }
}

void* CKeelListIterator::First() {
    m_element = m_list->Head();
    return Current();
}

void* CKeelListIterator::Last() {
    m_element = m_list->Tail();
    return Current();
}

void* CKeelListIterator::Next() {
    if (m_element) m_element = m_element->Next();
    return Current();
}

void* CKeelListIterator::Previous() {
    if (m_element) m_element = m_element->Previous();
    return Current();
}

void* CKeelListIterator::Current() const {
    return m_element ? m_element->Payload() : nullptr;
}

void* CKeelListIterator::RemoveCurrent() {
    if (!m_element) return nullptr;
    CKeelListElement* const next = m_element->Next();
    void* const payload = m_list->Remove(m_element);
    m_element = next;
    return payload;
}

}  // namespace quillon
