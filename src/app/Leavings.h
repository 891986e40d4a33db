#pragma once

namespace larkspan {

// Removes the hidden temporary items that processes left that were killed while they wrote: in the
// preferences, the caches, our Application Support folder and the whole version store. Those that
// another process is writing stay. Lists a few folders for each project, so not on the main thread.
void removeLeavings();

}  // namespace larkspan
