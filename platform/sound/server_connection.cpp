// The connection of this process to the sound server.
#include "platform/sound/server_connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace tolvane::platform {
namespace {

// A running operation; given up, so that its callback never comes, when it goes out of scope.
class Operation {
  public:
    explicit Operation(pa_operation* operation) : operation_(operation) {}
    ~Operation() {
        if (!operation_) return;
        pa_operation_cancel(operation_);
        pa_operation_unref(operation_);
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    bool Runs() const { return operation_ && pa_operation_get_state(operation_) == PA_OPERATION_RUNNING; }
    bool Done() const { return operation_ && pa_operation_get_state(operation_) == PA_OPERATION_DONE; }

  private:
    pa_operation* const operation_;
};

void SignalWaiting(void* connection) {
    static_cast<ServerConnection*>(connection)->Signal();
}

// What the answers to one question after the devices are gathered in.
struct Answers {
    ServerConnection& connection;
    ServerDevices outputs, inputs;
};

void Add(ServerDevices& devices, const char* name, const char* description, const pa_sample_spec& spec) {
    const bool described = description && description[0];
    ServerDevice device = {name, {}};
    SetDeviceName(device.description, described ? description : name);
    device.description.channels = std::max<uint8_t>(spec.channels, 2);  // the server mixes to what there is
    device.description.formats = StandardFormats(1, PA_RATE_MAX, 2, true, true);
    devices.devices.push_back(std::move(device));
}

void TakeDefaults(pa_context*, const pa_server_info* info, void* context) {
    auto& answers = *static_cast<Answers*>(context);
    if (!info) return;
    if (info->default_sink_name) answers.outputs.preferred = info->default_sink_name;
    if (info->default_source_name) answers.inputs.preferred = info->default_source_name;
}

void TakeSink(pa_context*, const pa_sink_info* sink, int end, void* context) {
    auto& answers = *static_cast<Answers*>(context);
    if (!end && sink) Add(answers.outputs, sink->name, sink->description, sink->sample_spec);
}

// The last of the answers.
void TakeSource(pa_context*, const pa_source_info* source, int end, void* context) {
    auto& answers = *static_cast<Answers*>(context);
    if (end) return answers.connection.Signal();
    if (source && source->monitor_of_sink == PA_INVALID_INDEX)
        Add(answers.inputs, source->name, source->description, source->sample_spec);
}

}  // namespace

ServerConnection& ServerConnection::Get() {
    // Never destroyed: the loop's thread runs until the process has ended.
    static ServerConnection& connection = *new ServerConnection;
    return connection;
}

ServerConnection::ServerConnection() : loop_(pa_threaded_mainloop_new()) {
    if (!loop_) std::abort();
    pa_threaded_mainloop_set_name(loop_, "sound server");
    if (pa_threaded_mainloop_start(loop_) < 0) std::abort();
}

ServerConnection::Deadline::Deadline(ServerConnection& connection, pa_usec_t longest)
    : api(connection.Api()) {
    timeval at;
    pa_timeval_add(pa_gettimeofday(&at), longest);
    const auto pass = [](pa_mainloop_api*, pa_time_event*, const timeval*, void* context) {
        static_cast<Deadline*>(context)->passed = true;
        ServerConnection::Get().Signal();
    };
    event = api->time_new(api, &at, pass, this);
}

ServerConnection::Deadline::~Deadline() {
    api->time_free(event);
}

bool ServerConnection::Connect() {
    if (context_ && !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_))) Drop();
    if (!context_ && !BeginConnecting()) return false;
    const auto state = [this] { return context_ ? pa_context_get_state(context_) : PA_CONTEXT_FAILED; };
    if (state() == PA_CONTEXT_READY) return true;
    const bool answered =
        WaitUntil([&] { return state() == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state()); });
    if (answered && state() == PA_CONTEXT_READY) return true;
    Drop();
    return false;
}

bool ServerConnection::BeginConnecting() {
    context_ = pa_context_new(Api(), program_invocation_short_name);
    if (!context_) return false;
    pa_context_set_state_callback(
        context_, [](pa_context*, void* self) { SignalWaiting(self); }, this);
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) == 0) return true;
    Drop();
    return false;
}

void ServerConnection::Drop() {
    devices_known_ = false;
    pa_context* const dropped = std::exchange(context_, nullptr);
    if (!dropped) return;
    pa_context_set_state_callback(dropped, nullptr, nullptr);
    pa_context_disconnect(dropped);
    pa_context_unref(dropped);
}

bool ServerConnection::ReadDevices() {
    devices_known_ = false;
    if (!Connect()) return false;
    Answers answers = {*this, {}, {}};
    const Operation defaults(pa_context_get_server_info(context_, TakeDefaults, &answers));
    const Operation sinks(pa_context_get_sink_info_list(context_, TakeSink, &answers));
    const Operation sources(pa_context_get_source_info_list(context_, TakeSource, &answers));
    // The server answers in the order of the questions.
    if (!WaitUntil([&] { return !sources.Runs(); }) || !defaults.Done() || !sinks.Done() || !sources.Done())
        return false;
    devices_[0] = std::move(answers.outputs);
    devices_[1] = std::move(answers.inputs);
    return devices_known_ = true;
}

bool ServerConnection::KnowDevices() {
    const bool same_connection = context_ && pa_context_get_state(context_) == PA_CONTEXT_READY;
    return (same_connection && devices_known_) || ReadDevices();
}

}  // namespace tolvane::platform
