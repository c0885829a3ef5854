// The connection of this process to the sound server.
#include "platform/sound/server_connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace tolvane::platform {
namespace {

// The questions that go with the opening of a device follow one another within this time, and one answer serves them all.
// Whoever changes something in another program needs longer.
constexpr pa_usec_t kListsServe = 5 * PA_USEC_PER_MSEC;

void SignalWaiting(void* connection) {
    static_cast<ServerConnection*>(connection)->Signal();
}

// What the answers to one question after the devices are gathered in.
struct Answers {
    ServerConnection& connection;
    ServerDevices outputs, inputs;
};

// `Info` tells of a sink or of a source.
template <typename Info>
void Add(ServerDevices& devices, const Info& info) {
    const bool described = info.description && info.description[0];
    ServerDevice device = {};
    device.name = info.name;
    device.text = described ? info.description : info.name;
    SetDeviceName(device.description, device.text.c_str());
    device.description.channels =
        std::max<uint8_t>(info.sample_spec.channels, 2);  // the server mixes to what there is
    device.description.formats = StandardFormats(1, PA_RATE_MAX, 2, true, true);
    device.channels = info.channel_map;
    device.volume = info.volume;
    device.muted = info.mute != 0;
    for (uint32_t i = 0; i < info.n_ports; i++)
        device.ports.push_back({info.ports[i]->name, info.ports[i]->description});
    if (info.active_port) device.port = info.active_port->name;
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
    if (!end && sink) Add(answers.outputs, *sink);
}

// The last of the answers.
void TakeSource(pa_context*, const pa_source_info* source, int end, void* context) {
    auto& answers = *static_cast<Answers*>(context);
    if (end) return answers.connection.Signal();
    if (source && source->monitor_of_sink == PA_INVALID_INDEX) Add(answers.inputs, *source);
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

std::optional<ServerDeviceLists> ServerConnection::AskDevices() {
    if (!Connect()) return std::nullopt;
    Answers answers = {*this, {}, {}};
    const ServerOperation defaults(pa_context_get_server_info(context_, TakeDefaults, &answers));
    const ServerOperation sinks(pa_context_get_sink_info_list(context_, TakeSink, &answers));
    const ServerOperation sources(pa_context_get_source_info_list(context_, TakeSource, &answers));
    // The server answers in the order of the questions.
    if (!WaitUntil([&] { return !sources.Runs(); }) || !defaults.Done() || !sinks.Done() || !sources.Done())
        return std::nullopt;
    return ServerDeviceLists{std::move(answers.outputs), std::move(answers.inputs)};
}

bool ServerConnection::ReadDevices() {
    if (DevicesAreKnown() && pa_rtclock_now() - read_at_ < kListsServe) return true;
    auto lists = AskDevices();
    read_at_ = pa_rtclock_now();
    devices_known_ = lists.has_value();
    if (lists) devices_ = std::move(*lists);
    return devices_known_;
}

bool ServerConnection::KnowDevices() {
    return DevicesAreKnown() || ReadDevices();
}

}  // namespace tolvane::platform
