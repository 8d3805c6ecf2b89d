// Lists of nodes, values and strings handed out by node maps. at() checks its
// index and raises ORVANE_ERR_GENICAM_OUT_OF_RANGE.
#ifndef ORVANE_GENAPI_CONTAINERS_H
#define ORVANE_GENAPI_CONTAINERS_H

#include <cstddef>
#include <vector>

#include "Orvane/Export.h"
#include "Orvane/GenICam/gcstring.h"

namespace Orvane {
namespace GenApi {

class INode;
class IValue;

namespace detail {
[[noreturn]] ORVANE_API void ThrowIndexOutOfRange(size_t index, size_t size);
}

template <class T>
class checked_vector {
public:
    typedef typename std::vector<T>::iterator iterator;
    typedef typename std::vector<T>::const_iterator const_iterator;
    typedef T value_type;

    size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    void clear() { m_items.clear(); }
    void reserve(size_t n) { m_items.reserve(n); }
    void push_back(const T& item) { m_items.push_back(item); }
    T& at(size_t index) {
        if (index >= m_items.size()) detail::ThrowIndexOutOfRange(index, m_items.size());
        return m_items[index];
    }
    const T& at(size_t index) const {
        if (index >= m_items.size()) detail::ThrowIndexOutOfRange(index, m_items.size());
        return m_items[index];
    }
    T& operator[](size_t index) { return m_items[index]; }
    const T& operator[](size_t index) const { return m_items[index]; }
    iterator begin() { return m_items.begin(); }
    iterator end() { return m_items.end(); }
    const_iterator begin() const { return m_items.begin(); }
    const_iterator end() const { return m_items.end(); }

private:
    std::vector<T> m_items;
};

typedef checked_vector<INode*> node_vector;
typedef checked_vector<IValue*> value_vector;
typedef checked_vector<GenICam::gcstring> gcstring_vector;
typedef checked_vector<int64_t> int64_autovector_t;
typedef checked_vector<double> double_autovector_t;

typedef node_vector NodeList_t;
typedef value_vector FeatureList_t;
typedef gcstring_vector StringList_t;

} // namespace GenApi
} // namespace Orvane

#endif
