// Orvane::InterfaceList: a snapshot of interfaces.
#ifndef ORVANE_INTERFACE_LIST_H
#define ORVANE_INTERFACE_LIST_H

#include <vector>

#include "Orvane/Interface.h"

namespace Orvane {

class ORVANE_API InterfaceList {
public:
    InterfaceList();
    virtual ~InterfaceList();
    InterfaceList(const InterfaceList&);
    InterfaceList& operator=(const InterfaceList&);

    size_t GetSize() const;
    // Raises ORVANE_ERR_OUT_OF_RANGE for an index at or beyond GetSize().
    InterfacePtr GetByIndex(size_t index) const;
    InterfacePtr operator[](size_t index) const { return GetByIndex(index); }
    void Clear();
    void Append(const InterfacePtr& item);

private:
    std::vector<InterfacePtr> m_items;
};

} // namespace Orvane

#endif
