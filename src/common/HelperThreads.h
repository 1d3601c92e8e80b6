// The library's helper threads for the adaptive team's loops: a caller offers its loop to them and never
// waits for one that has not come.
//
// A loop of a few milliseconds cut into chunks is worked by the calling thread from the start; a helper
// joins when it gets to run and takes chunks until none is left. When the caller has run out of chunks it
// withdraws the offer and waits only for the helpers that joined (each is then inside a chunk, or about
// to find none). A helper the operating system leaves without a core therefore costs the caller nothing:
// on a busy machine the caller does the whole loop itself, at the pace of one thread. Idle helpers keep
// polling for a new offer for a few milliseconds, yielding the processor each time, then sleep until the
// next offer: between the loops of one job they answer at once, and none keeps polling once offers stop
// or once it came too late to find work (as on a machine whose cores are busy with other work).
// The helpers start on first use, one fewer than the largest team asked for; should the
// system refuse a thread, the loops run with those there are. A process created by fork() starts with
// none. Who runs which chunk changes no result: the loops that use them write each index's outputs once.
#pragma once

namespace Kestrel {
namespace common {

// True on a helper thread and on a caller while it works its share of an offered loop: a loop reached
// from there runs on that thread alone, so teams never nest.
bool insideTeamLoop();

// Runs share(0) on the calling thread and offers share to at most `helpers` helper threads, which run it
// as share(1), share(2) ... if they come before share(0) has returned. Returns once share(0) and every
// share a helper started have returned. share must not throw, must return soon once share(0) has returned
// (it takes the chunks that are left, and none is), and returns whether it found work: a helper that came
// too late for any does not keep polling for the next offer.
void shareWithHelpers(int helpers, bool (*share)(void* context, int thread), void* context);

// How many helper threads the process has started so far (none before the first offer).
int helperThreadCount();

// The same for any callable bool share(int thread).
template <class Share>
void shareWithHelpers(int helpers, Share& share) {
    shareWithHelpers(
        helpers, [](void* context, int thread) { return (*static_cast<Share*>(context))(thread); }, &share);
}

}  // namespace common
}  // namespace Kestrel
