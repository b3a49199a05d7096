#pragma once

namespace gaizior::platform {

/// What a part of the layer does when the process forks. `prepare` runs before the fork and takes the part's locks, so
/// that the child finds nothing half changed by threads that it does not have; the other two release them.
/// `continueInChild` makes the part the child's own.
struct ForkPart {
    void (*prepare)();
    void (*continueInParent)();
    void (*continueInChild)();
};

extern const ForkPart kConsoleForkPart;
extern const ForkPart kWatcherForkPart;
extern const ForkPart kNamesForkPart;
extern const ForkPart kViewsForkPart;
extern const ForkPart kObjectsForkPart;

} // namespace gaizior::platform
