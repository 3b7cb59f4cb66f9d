// How the reports on attachment points become lists: programmed points are applied, points that
// failed are failed with an error text, others are not processed and in neither list.
#pragma once

#include "frame/Trace.h"
#include "traffic-policy/InstallStatus.h"

namespace TrafficPolicyCli {

// Calls applied(name) or failed(name) for each point of a map from names to InterfaceStatus
// records.
template <class Reports, class Applied, class Failed>
void sortByOutcome(const Reports& reports, MatchOption option, Applied applied, Failed failed) {
    for (const auto& [name, report] : reports) {
        if (report->isProgrammed(option)) {
            SHOW_TRACE(7, "Applied on " << name);
            applied(name);
        } else if (report->isFailed(option)) {
            SHOW_TRACE(7, "Failed on " << name);
            failed(name);
        } else {
            SHOW_TRACE(7, name << " is not processed");
        }
    }
}

// Calls store(name, error text) for each point of a failed list, in name order.
template <class Failed, class Reports, class Store>
void collectErrors(const Failed& failed, const Reports& reports, MatchOption option, Store store) {
    for (const auto& [name, isFailed] : failed) {
        store(name, getInstalledErrorString(*reports.find(name), option));
    }
}

inline void traceNoFailures(MatchOption option) {
    SHOW_TRACE(8, "No failures for option: " << option);
}

}  // namespace TrafficPolicyCli
