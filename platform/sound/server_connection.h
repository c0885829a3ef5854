// The connection of this process to the sound server: one loop and one context, made on first need and made
// anew when the server has gone and come back.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_CONNECTION_H
#define TOLVANE_PLATFORM_SOUND_SERVER_CONNECTION_H

#include <pulse/pulseaudio.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "platform/sound/card.h"

namespace tolvane::platform {

struct ServerPort {
    std::string name, description;
};

// A sink or source.
struct ServerDevice {
    std::string name, text;  // the server's own, and what it is to be called
    CardDevice description;
    pa_channel_map channels;
    pa_cvolume volume;
    bool muted;
    std::vector<ServerPort> ports;
    std::string port;  // name of the one in use
};

// Output or input devices in the server's order, and the name of the default one.
struct ServerDevices {
    std::vector<ServerDevice> devices;
    std::string preferred;
};

// A running operation; given up, so that its callback never comes, when it goes out of scope.
class ServerOperation {
  public:
    explicit ServerOperation(pa_operation* operation) : operation_(operation) {}
    ~ServerOperation() {
        if (!operation_) return;
        pa_operation_cancel(operation_);
        pa_operation_unref(operation_);
    }
    ServerOperation(const ServerOperation&) = delete;
    ServerOperation& operator=(const ServerOperation&) = delete;

    bool Runs() const { return operation_ && pa_operation_get_state(operation_) == PA_OPERATION_RUNNING; }
    bool Done() const { return operation_ && pa_operation_get_state(operation_) == PA_OPERATION_DONE; }

  private:
    pa_operation* const operation_;
};

using ServerDeviceLists = std::array<ServerDevices, 2>;  // outputs and inputs

// Functions other than Get, Lock and Unlock are called with the lock, and not in the loop's own thread.
class ServerConnection {
  public:
    static ServerConnection& Get();

    void Lock() { pa_threaded_mainloop_lock(loop_); }
    void Unlock() { pa_threaded_mainloop_unlock(loop_); }

    // False where no server answers.
    bool Connect();
    pa_context* Context() const { return context_; }

    // What the server has now.
    std::optional<ServerDeviceLists> AskDevices();
    // Reads the lists anew unless that was just done, or only on a new connection (so that an index means what it
    // meant when it was told).
    bool ReadDevices();
    bool KnowDevices();
    // This process has changed something: what was just read is old.
    void Changed() { read_at_ = 0; }
    const ServerDevices& Devices(Direction direction) const {
        return devices_[direction == Direction::kInput];
    }

    pa_mainloop_api* Api() const { return pa_threaded_mainloop_get_api(loop_); }
    // Wakes those that wait.
    void Signal() { pa_threaded_mainloop_signal(loop_, 0); }
    // Waits until `done`, at most for as long as a server that works may take; false when that was too long.
    template <typename Done>
    bool WaitUntil(Done done, pa_usec_t longest = 2 * PA_USEC_PER_SEC) {
        const Deadline deadline(*this, longest);
        while (!done()) {
            if (deadline.passed) return false;
            pa_threaded_mainloop_wait(loop_);
        }
        return true;
    }

  private:
    // Ends waiting for a server that accepts a connection and then is silent.
    struct Deadline {
        Deadline(ServerConnection& connection, pa_usec_t longest);
        ~Deadline();
        Deadline(const Deadline&) = delete;
        Deadline& operator=(const Deadline&) = delete;

        pa_mainloop_api* const api;
        pa_time_event* event;
        bool passed = false;
    };

    ServerConnection();
    bool DevicesAreKnown() const {
        return devices_known_ && context_ && pa_context_get_state(context_) == PA_CONTEXT_READY;
    }
    bool BeginConnecting();
    void Drop();

    pa_threaded_mainloop* const loop_;
    pa_context* context_ = nullptr;
    bool devices_known_ = false;
    pa_usec_t read_at_ = 0;
    ServerDeviceLists devices_;
};

class ServerLock {
  public:
    ServerLock() { ServerConnection::Get().Lock(); }
    ~ServerLock() { ServerConnection::Get().Unlock(); }
    ServerLock(const ServerLock&) = delete;
    ServerLock& operator=(const ServerLock&) = delete;
};

}  // namespace tolvane::platform

#endif
