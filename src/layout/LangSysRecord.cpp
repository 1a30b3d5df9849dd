#include "layout/LangSysRecord.h"

#include <utility>

namespace Typeframe {

bool LangSysRecord::Load(Bedrock::Counted<BigEndianBuffer> source) { return langSys.Load(std::move(source)); }

bool LangSysRecord::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    return langSys.Load(std::move(source), budget);
}

unsigned long LangSysRecord::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    // Deliberate: the inner LangSys enters the graph with no edge, so an equal default never shares these bytes.
    langSys.Save(graph);
    out->Write(langSys.buffer);
    return index;
}

bool LangSysRecord::IsLessThan(const GraphNode& other) const {
    const LangSysRecord& that = static_cast<const LangSysRecord&>(other);
    if (tag != that.tag) return tag < that.tag;
    return langSys < that.langSys;
}

}  // namespace Typeframe
