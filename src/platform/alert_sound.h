#pragma once

namespace vossel {

// The sound that the user has chosen for alerts. Main thread only.
class AlertSound {
public:
    virtual ~AlertSound() = default;

    // Starts it and returns at once; where there is no sound, nothing happens.
    virtual void play() = 0;
};

}
