#include "HelperThreads.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Kestrel {
namespace common {
namespace {

// How long an idle helper keeps polling for the next offer before it sleeps: longer than the caller's work
// between two loops of one job, so that a helper is not woken from sleep for every loop (on a virtual
// machine a wake-up can take milliseconds). Every poll yields the processor, so other runnable threads of
// a busy machine go first, and no helper polls longer than this after the last offer.
constexpr std::chrono::milliseconds kPollingTime{5};

thread_local bool onTeamLoop = false;

// Marks the calling thread as working a share until the end of the scope.
class TeamLoopScope {
  public:
    TeamLoopScope() : previous_(onTeamLoop) { onTeamLoop = true; }
    ~TeamLoopScope() { onTeamLoop = previous_; }
    TeamLoopScope(TeamLoopScope const&) = delete;
    TeamLoopScope& operator=(TeamLoopScope const&) = delete;

  private:
    bool previous_;
};

// One loop offered to the helpers, alive on the caller's stack until every helper that joined has left.
struct Offer {
    bool (*run)(void*, int);
    void* context;
    int seats;           // helpers that may still join
    int nextThread = 1;  // the share number of the next helper to join
    int inside = 0;      // helpers running their share now
    bool withdrawn = false;
};

class HelperThreads {
  public:
    // The process's helpers. Never destroyed: helpers sleep inside it until the process ends, so no
    // static destructor may pull it from under them. A child created by fork() has none of its parent's
    // threads, and its copy of the lock may be held by one of them: it starts afresh, leaving the copy.
    static HelperThreads& instance() {
        static bool const registered = [] {
            pthread_atfork(nullptr, nullptr, [] { current = new HelperThreads(); });
            return true;
        }();
        (void)registered;
        return *current;
    }

    int started() {
        std::lock_guard<std::mutex> const lock(mutex_);
        return started_;
    }

    void offer(int helpers, bool (*run)(void*, int), void* context) {
        Offer offer{run, context, helpers};
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            startHelpers(helpers);
            offers_.push_back(&offer);
            offersMade_.fetch_add(1, std::memory_order_release);
            if (sleeping_ > 0) {
                offered_.notify_all();
            }
        }
        {
            TeamLoopScope const scope;
            run(context, 0);
        }
        std::unique_lock<std::mutex> lock(mutex_);
        auto const posted = std::find(offers_.begin(), offers_.end(), &offer);
        if (posted != offers_.end()) {
            offers_.erase(posted);
        }
        offer.withdrawn = true;
        left_.wait(lock, [&] { return offer.inside == 0; });
    }

  private:
    HelperThreads() = default;

    // Called with the lock held.
    void startHelpers(int wanted) {
        while (started_ < wanted) {
            try {
                std::thread([this] { work(); }).detach();
            } catch (std::system_error const&) {
                return;  // the loops run with the helpers there are
            }
            ++started_;
        }
    }

    // Polls for an offer for a while, yielding the processor, without the lock.
    void pollForOffer(std::uint64_t seen) const {
        auto const until = std::chrono::steady_clock::now() + kPollingTime;
        while (offersMade_.load(std::memory_order_acquire) == seen &&
               std::chrono::steady_clock::now() < until) {
            std::this_thread::yield();
        }
    }

    void work() {
        TeamLoopScope const scope;
        std::unique_lock<std::mutex> lock(mutex_);
        bool foundWork = false;
        for (;;) {
            if (offers_.empty()) {
                if (foundWork) {
                    std::uint64_t const seen = offersMade_.load(std::memory_order_acquire);
                    lock.unlock();
                    pollForOffer(seen);
                    lock.lock();
                }
                ++sleeping_;
                offered_.wait(lock, [&] { return !offers_.empty(); });
                --sleeping_;
            }
            Offer& offer = *offers_.front();
            int const thread = offer.nextThread++;
            if (--offer.seats == 0) {
                offers_.erase(offers_.begin());
            }
            ++offer.inside;
            lock.unlock();
            foundWork = offer.run(offer.context, thread);
            lock.lock();
            if (--offer.inside == 0 && offer.withdrawn) {
                left_.notify_all();
            }
        }
    }

    static HelperThreads* current;

    std::mutex mutex_;
    std::condition_variable offered_;  // a new offer stands
    std::condition_variable left_;     // the last helper left a withdrawn offer
    std::vector<Offer*> offers_;       // standing offers with free seats, oldest first
    std::atomic<std::uint64_t> offersMade_{0};
    int started_ = 0;
    int sleeping_ = 0;
};

HelperThreads* HelperThreads::current = new HelperThreads();

}  // namespace

bool insideTeamLoop() {
    return onTeamLoop;
}

int helperThreadCount() {
    return HelperThreads::instance().started();
}

void shareWithHelpers(int helpers, bool (*share)(void* context, int thread), void* context) {
    if (helpers <= 0) {
        TeamLoopScope const scope;
        share(context, 0);
        return;
    }
    HelperThreads::instance().offer(helpers, share, context);
}

}  // namespace common
}  // namespace Kestrel
