// Where those who use a state have it from.
#pragma once

#include <memory>

#include "state/State.h"

namespace StateDirectory {

using StatePtr = std::shared_ptr<const State>;

// Both throw StateError.
class StateSource {
  public:
    virtual ~StateSource() = default;
    // A state as the documents told it, which may be behind them by the time that reading takes.
    virtual StatePtr loaded() = 0;
    // The state as the documents tell it now.
    virtual StatePtr current() = 0;
};

}  // namespace StateDirectory
