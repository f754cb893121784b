// Intrusive doubly linked lists in append order. A removed element has no links, so
// removing it again changes nothing.
#include "standins/sal/exported.h"

void salListInit(SalList *list)
{
    if (list != nullptr)
        *list = {};
}

SalListLink *salListFirst(SalList *list)
{
    return list != nullptr ? list->first : nullptr;
}

SalListLink *salListNext(SalListLink *link)
{
    return link != nullptr ? link->next : nullptr;
}

void salListNodeAppend(SalList *list, SalListLink *link)
{
    if (list == nullptr || link == nullptr)
        return;
    link->next = nullptr;
    link->prev = list->last;
    (list->last != nullptr ? list->last->next : list->first) = link;
    list->last = link;
}

void salListNodeRemove(SalList *list, SalListLink *link)
{
    if (list == nullptr || link == nullptr)
        return;
    if (link->prev == nullptr && list->first != link)
        return; // in no list
    (link->prev != nullptr ? link->prev->next : list->first) = link->next;
    (link->next != nullptr ? link->next->prev : list->last) = link->prev;
    *link = {};
}
