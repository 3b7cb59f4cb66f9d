#include "counters/NamedCounterView.h"

#include "frame/Trace.h"

namespace TrafficPolicyCli {

void renderNamedCounter(textout::RendererV2& renderer, const PolicyState& policyState) {
    SHOW_TRACE_ENTRY();
    if (policyState.namedCounter().empty()) return;
    const auto list = renderer.list("namedCounters");
    renderer.indent(6).text("counter");
    for (const auto& [name, declared] : policyState.namedCounter()) {
        renderer.item(name);
        renderer.text(" ").name(name);
    }
    renderer.endLine();
}

}  // namespace TrafficPolicyCli
