// Module-wide start and stop of the media layer.
#pragma once

namespace kiva::qt {

// Starts the media layer when its version is usable; true when it is ready. Once it has
// answered true it keeps answering true without starting again, even after Terminate.
bool Initialize();
// Stops the media layer (always asks it to stop, started or not).
void Terminate();
// Whether the media layer was found usable and started.
bool IsAvailable();
// Forgets that the media layer was started, as a freshly loaded module would have it: for test
// programs that go through many module lifetimes in one process.
void ForgetStartForTesting();

}  // namespace kiva::qt
