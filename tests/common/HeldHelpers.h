// Every helper thread of the library held inside another caller's team loop, so that a test can check
// what a loop does when no helper comes.
#pragma once

#include "HelperThreads.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace Kestrel::test {

// Waits until `condition()` holds or two seconds have passed; returns whether it holds.
template <class Condition>
bool waitUntil(Condition const& condition) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

class HeldHelpers {
  public:
    // Starts a helper if there is none, then holds every helper in a loop of another thread until the
    // object goes away.
    HeldHelpers() {
        auto warmUp = [](int) { return true; };
        common::shareWithHelpers(1, warmUp);
        holder_ = std::thread([this] { common::shareWithHelpers(64, *this); });
        allHeld_ = waitUntil([this] { return held_.load() == common::helperThreadCount(); });
    }
    ~HeldHelpers() {
        release_ = true;
        holder_.join();
    }
    HeldHelpers(HeldHelpers const&) = delete;
    HeldHelpers& operator=(HeldHelpers const&) = delete;

    // Whether every helper came within two seconds.
    bool allHeld() const { return allHeld_; }

    // Whether the helpers are still held (they are until the object goes away).
    bool stillHeld() const { return !release_.load(); }

    // The holding loop's share: the holder waits for every helper, each helper waits for the release.
    bool operator()(int thread) {
        if (thread == 0) {
            waitUntil([this] { return held_.load() == common::helperThreadCount(); });
            return true;
        }
        ++held_;
        waitUntil([this] { return release_.load(); });
        return true;
    }

  private:
    std::atomic<int> held_{0};
    std::atomic<bool> release_{false};
    bool allHeld_ = false;
    std::thread holder_;
};

}  // namespace Kestrel::test
