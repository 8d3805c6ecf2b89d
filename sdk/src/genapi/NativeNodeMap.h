// NativeNodeMap: node maps whose nodes are served by the SDK itself (the
// transport-layer maps of system, interfaces, devices and streams). Each node
// reads and writes SDK state through functions given when it is added.
#ifndef ORVANE_GENAPI_NATIVE_NODE_MAP_H
#define ORVANE_GENAPI_NATIVE_NODE_MAP_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "genapi/NodeMapBase.h"
#include "genapi/ValueNodes.h"

namespace Orvane {
namespace GenApi {
namespace impl {

// When no access function is given a node is RO without a setter and RW with one.
typedef std::function<EAccessMode()> AccessFunction;

struct IntegerSpec {
    std::function<int64_t()> get;
    std::function<void(int64_t)> set;
    std::function<int64_t()> min;
    std::function<int64_t()> max;
    int64_t inc = 1;
    ERepresentation representation = PureNumber;
    std::string unit;
    AccessFunction access;
};

struct FloatSpec {
    std::function<double()> get;
    std::function<void(double)> set;
    std::function<double()> min;
    std::function<double()> max;
    std::string unit;
    AccessFunction access;
};

struct StringSpec {
    std::function<std::string()> get;
    std::function<void(const std::string&)> set;
    int64_t maxLength = 256;
    AccessFunction access;
};

struct BooleanSpec {
    std::function<bool()> get;
    std::function<void(bool)> set;
    AccessFunction access;
};

struct CommandSpec {
    std::function<void()> execute;
    std::function<bool()> isDone; // always done when absent
    AccessFunction access;        // WO when absent
};

struct EnumerationSpec {
    std::function<int64_t()> get;
    std::function<void(int64_t)> set;
    std::vector<std::pair<std::string, int64_t>> entries; // symbolic name, value; in this order
    AccessFunction access;
};

class NativeNodeMap : public NodeMapBase {
public:
    explicit NativeNodeMap(std::string deviceName);

    IntegerNode* AddInteger(NodeInfo info, IntegerSpec spec);
    FloatNode* AddFloat(NodeInfo info, FloatSpec spec);
    StringNode* AddString(NodeInfo info, StringSpec spec);
    BooleanNode* AddBoolean(NodeInfo info, BooleanSpec spec);
    CommandNode* AddCommand(NodeInfo info, CommandSpec spec);
    // Adds the enumeration and one entry node per entry, named
    // "EnumEntry_<name>_<symbolic>".
    EnumerationNode* AddEnumeration(NodeInfo info, EnumerationSpec spec);
    // The features are named here and linked when Finish() runs, so a category
    // may name nodes added after it.
    CategoryNode* AddCategory(NodeInfo info, std::vector<std::string> features);

    // Links categories to their features and declares `dependent` to depend on
    // `source` (by name), e.g. a selected value on its selector.
    void Depends(const std::string& dependent, const std::string& source);
    void Selects(const std::string& selector, const std::string& selected);
    // Resolves the names given to AddCategory, Depends and Selects.
    void Finish();

private:
    std::vector<std::pair<CategoryNode*, std::vector<std::string>>> m_categories;
    std::vector<std::pair<std::string, std::string>> m_depends;
    std::vector<std::pair<std::string, std::string>> m_selects;
};

// Descriptive data for a native node: Standard name space, Beginner unless told.
NodeInfo MakeInfo(const std::string& name, const std::string& toolTip, EVisibility visibility = Beginner,
                  const std::string& displayName = "");

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
