#pragma once

#include "foundation/mutex.h"

#include <cstdint>
#include <functional>

namespace vossel {

enum FilterStatusValue : std::int32_t {
    FILTER_INITIALIZING = 0, // nothing reported yet
    FILTER_ENABLED = 1,
    FILTER_DISABLED = 2, // or the driver cannot be reached
};

// The filter's state as the agent knows it. Read and set from any thread.
class FilterStatus {
public:
    using Observer = std::function<void(std::int32_t status)>;

    [[nodiscard]] std::int32_t statusBarStatus() const;
    // Tells the observer of a change; equal values pass in silence.
    void updateStatus(std::int32_t status);
    // Called at once with the present value and then at each change, in their order, under the
    // lock of this object: it must not call back.
    void setObserver(Observer observer);

private:
    mutable Mutex mutex_;
    std::int32_t status_ VOSSEL_GUARDED_BY(mutex_) = FILTER_INITIALIZING;
    Observer observer_ VOSSEL_GUARDED_BY(mutex_);
};

}
