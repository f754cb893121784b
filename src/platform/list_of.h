// A typed range over a sal list: `for (Switch &sw : ListOf<Switch>(switchTbl))`. The successor
// is determined before the body runs, so the body may remove the current element or move it to
// the end.
#pragma once

#include "platform/sal.h"

#include <cstddef>
#include <type_traits>

template <class T>
class ListOf {
    static_assert(std::is_standard_layout_v<T> && offsetof(T, link) == 0,
                  "a list element begins with its link");

public:
    class Iterator {
    public:
        explicit Iterator(SalListLink *link) : current(link), following(after(link)) {}
        T &operator*() const { return *reinterpret_cast<T *>(current); }
        bool operator!=(const Iterator &other) const { return current != other.current; }
        Iterator &operator++()
        {
            current = following;
            following = after(current);
            return *this;
        }

    private:
        static SalListLink *after(SalListLink *link)
        {
            return link != nullptr ? salListNext(link) : nullptr;
        }

        SalListLink *current;
        SalListLink *following;
    };

    explicit ListOf(SalList &walked) : list(walked) {}
    Iterator begin() const { return Iterator(salListFirst(&list)); }
    Iterator end() const { return Iterator(nullptr); }

private:
    SalList &list;
};
