#include "genapi/NativeNodeMap.h"

#include "core/Raise.h"

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

EAccessMode DefaultAccess(const AccessFunction& access, bool writable) {
    if (access) return access();
    return writable ? RW : RO;
}

class NativeInteger : public IntegerNode {
public:
    NativeInteger(NodeMapBase& map, NodeInfo info, IntegerSpec spec)
        : IntegerNode(map, std::move(info)), m_spec(std::move(spec)) {}

protected:
    EAccessMode ComputeAccessMode() const override { return DefaultAccess(m_spec.access, bool(m_spec.set)); }
    int64_t DoGetValue(bool) override {
        if (!m_spec.get) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is write-only");
        return m_spec.get();
    }
    void DoSetValue(int64_t v) override {
        if (!m_spec.set) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is read-only");
        m_spec.set(v);
    }
    int64_t DoGetMin() override { return m_spec.min ? m_spec.min() : IntegerNode::DoGetMin(); }
    int64_t DoGetMax() override { return m_spec.max ? m_spec.max() : IntegerNode::DoGetMax(); }
    int64_t DoGetInc() override { return m_spec.inc; }
    ERepresentation DoGetRepresentation() override { return m_spec.representation; }
    std::string DoGetUnit() const override { return m_spec.unit; }

private:
    IntegerSpec m_spec;
};

class NativeFloat : public FloatNode {
public:
    NativeFloat(NodeMapBase& map, NodeInfo info, FloatSpec spec)
        : FloatNode(map, std::move(info)), m_spec(std::move(spec)) {}

protected:
    EAccessMode ComputeAccessMode() const override { return DefaultAccess(m_spec.access, bool(m_spec.set)); }
    double DoGetValue(bool) override {
        if (!m_spec.get) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is write-only");
        return m_spec.get();
    }
    void DoSetValue(double v) override {
        if (!m_spec.set) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is read-only");
        m_spec.set(v);
    }
    double DoGetMin() override { return m_spec.min ? m_spec.min() : FloatNode::DoGetMin(); }
    double DoGetMax() override { return m_spec.max ? m_spec.max() : FloatNode::DoGetMax(); }
    std::string DoGetUnit() const override { return m_spec.unit; }

private:
    FloatSpec m_spec;
};

class NativeString : public StringNode {
public:
    NativeString(NodeMapBase& map, NodeInfo info, StringSpec spec)
        : StringNode(map, std::move(info)), m_spec(std::move(spec)) {}

protected:
    EAccessMode ComputeAccessMode() const override { return DefaultAccess(m_spec.access, bool(m_spec.set)); }
    std::string DoGetValue(bool) override {
        if (!m_spec.get) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is write-only");
        return m_spec.get();
    }
    void DoSetValue(const std::string& v) override {
        if (!m_spec.set) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is read-only");
        m_spec.set(v);
    }
    int64_t DoGetMaxLength() override { return m_spec.maxLength; }

private:
    StringSpec m_spec;
};

class NativeBoolean : public BooleanNode {
public:
    NativeBoolean(NodeMapBase& map, NodeInfo info, BooleanSpec spec)
        : BooleanNode(map, std::move(info)), m_spec(std::move(spec)) {}

protected:
    EAccessMode ComputeAccessMode() const override { return DefaultAccess(m_spec.access, bool(m_spec.set)); }
    bool DoGetValue(bool) const override {
        if (!m_spec.get) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is write-only");
        return m_spec.get();
    }
    void DoSetValue(bool v) override {
        if (!m_spec.set) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is read-only");
        m_spec.set(v);
    }

private:
    BooleanSpec m_spec;
};

class NativeCommand : public CommandNode {
public:
    NativeCommand(NodeMapBase& map, NodeInfo info, CommandSpec spec)
        : CommandNode(map, std::move(info)), m_spec(std::move(spec)) {}

protected:
    EAccessMode ComputeAccessMode() const override { return m_spec.access ? m_spec.access() : WO; }
    void DoExecute() override {
        if (m_spec.execute) m_spec.execute();
    }
    bool DoIsDone() override { return m_spec.isDone ? m_spec.isDone() : true; }

private:
    CommandSpec m_spec;
};

class NativeEnumeration : public EnumerationNode {
public:
    NativeEnumeration(NodeMapBase& map, NodeInfo info, EnumerationSpec spec)
        : EnumerationNode(map, std::move(info)), m_spec(std::move(spec)) {}

protected:
    EAccessMode ComputeAccessMode() const override { return DefaultAccess(m_spec.access, bool(m_spec.set)); }
    int64_t DoGetIntValue(bool) override {
        if (!m_spec.get) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is write-only");
        return m_spec.get();
    }
    void DoSetIntValue(int64_t v) override {
        if (!m_spec.set) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "the node is read-only");
        m_spec.set(v);
    }

private:
    EnumerationSpec m_spec;
};

} // namespace

NodeInfo MakeInfo(const std::string& name, const std::string& toolTip, EVisibility visibility,
                  const std::string& displayName) {
    NodeInfo info;
    info.name = name;
    info.nameSpace = Standard;
    info.visibility = visibility;
    info.toolTip = toolTip;
    info.description = toolTip;
    info.displayName = displayName;
    return info;
}

NativeNodeMap::NativeNodeMap(std::string deviceName) : NodeMapBase(std::move(deviceName)) {}

IntegerNode* NativeNodeMap::AddInteger(NodeInfo info, IntegerSpec spec) {
    return Add(std::make_unique<NativeInteger>(*this, std::move(info), std::move(spec)));
}
FloatNode* NativeNodeMap::AddFloat(NodeInfo info, FloatSpec spec) {
    return Add(std::make_unique<NativeFloat>(*this, std::move(info), std::move(spec)));
}
StringNode* NativeNodeMap::AddString(NodeInfo info, StringSpec spec) {
    return Add(std::make_unique<NativeString>(*this, std::move(info), std::move(spec)));
}
BooleanNode* NativeNodeMap::AddBoolean(NodeInfo info, BooleanSpec spec) {
    return Add(std::make_unique<NativeBoolean>(*this, std::move(info), std::move(spec)));
}
CommandNode* NativeNodeMap::AddCommand(NodeInfo info, CommandSpec spec) {
    return Add(std::make_unique<NativeCommand>(*this, std::move(info), std::move(spec)));
}

EnumerationNode* NativeNodeMap::AddEnumeration(NodeInfo info, EnumerationSpec spec) {
    const std::string name = info.name;
    const EVisibility visibility = info.visibility;
    const auto entries = spec.entries;
    auto* e = Add(std::make_unique<NativeEnumeration>(*this, std::move(info), std::move(spec)));
    for (const auto& entry : entries) {
        NodeInfo ei = MakeInfo("EnumEntry_" + name + "_" + entry.first, "", visibility, entry.first);
        ei.feature = false;
        auto* node = Add(std::make_unique<EnumEntryNode>(*this, std::move(ei), entry.first, entry.second));
        e->AddEntry(*node);
    }
    return e;
}

CategoryNode* NativeNodeMap::AddCategory(NodeInfo info, std::vector<std::string> features) {
    auto* c = Add(std::make_unique<CategoryNode>(*this, std::move(info)));
    m_categories.emplace_back(c, std::move(features));
    return c;
}

void NativeNodeMap::Depends(const std::string& dependent, const std::string& source) {
    m_depends.emplace_back(dependent, source);
}

void NativeNodeMap::Selects(const std::string& selector, const std::string& selected) {
    m_selects.emplace_back(selector, selected);
}

void NativeNodeMap::Finish() {
    for (auto& c : m_categories)
        for (const auto& name : c.second)
            if (Node* n = FindNode(name)) c.first->AddFeature(*n);
    for (auto& d : m_depends) {
        Node* dependent = FindNode(d.first);
        Node* source = FindNode(d.second);
        if (dependent && source) dependent->AddDependency(*source);
    }
    for (auto& s : m_selects) {
        Node* selector = FindNode(s.first);
        Node* selected = FindNode(s.second);
        if (selector && selected) selector->AddSelected(*selected);
    }
    m_categories.clear();
    m_depends.clear();
    m_selects.clear();
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
