// A host that shows the policies on the VLANs of a state directory with the installed state reader,
// and its message about a directory that is wrong.
#include <orb/ActivityLock.h>
#include <state/State.h>
#include <state/StateError.h>
#include <traffic-policy/Shows.h>
#include <unistd.h>

#include <cstdio>

int main(int, char** argv) {
    const Orb::ActivityLockGuard lock;
    try {
        const StateDirectory::State state = StateDirectory::readState(argv[1]);
        TrafficPolicyCli::VAclShow show;
        show.config = state.config;
        show.status = state.vlan;
        show.fieldSetConfig = state.fieldSetConfig;
        show.trafficPolicyHwStatus = state.hwStatus;
        show.intfConfigBridged = state.intfConfigBridged;
        show.make()->render(STDOUT_FILENO, 1, 2);
    } catch (const StateDirectory::StateError& error) {
        std::puts(error.what());
    }
}
