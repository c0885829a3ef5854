// The question comes to a hook natively; on Windows it is the system's dialog, answered from another thread.
#include "support/format_user.h"

#include <windows.h>

#include <chrono>

#include <platform_codecs.h>

namespace tolvane::test {

int32_t FormatUser::Choose(uint32_t count, const std::function<std::string(uint32_t)>& text) {
    ++asked_;
    for (uint32_t i = count; i-- > 0;) {
        const std::string offer = text(i);
        if (offer.starts_with(rate_) && offer.find(channels_) != std::string::npos)
            return static_cast<int32_t>(i);
    }
    return -1;
}

#if defined(_WIN32)

static HWND OwnDialog() {
    const HWND dialog = FindWindowA("#32770", nullptr);
    DWORD owner = 0;
    GetWindowThreadProcessId(dialog, &owner);
    return owner == GetCurrentProcessId() ? dialog : nullptr;
}

static std::string TextOf(HWND list, uint32_t i) {
    char text[256] = "";
    SendMessageA(list, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text));
    return text;
}

void FormatUser::Answer() {
    constexpr int kFormats = 102;  // the dialog's list of formats
    const HWND dialog = OwnDialog(), list = dialog ? GetDlgItem(dialog, kFormats) : nullptr;
    const auto count = list ? static_cast<uint32_t>(SendMessageA(list, CB_GETCOUNT, 0, 0)) : 0;
    if (count == 0 || !IsWindowVisible(dialog)) return;
    const int32_t chosen = Choose(count, [=](uint32_t i) { return TextOf(list, i); });
    SendMessageA(list, CB_SETCURSEL, static_cast<WPARAM>(chosen), 0);
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(kFormats, CBN_SELCHANGE), reinterpret_cast<LPARAM>(list));
    SendMessageA(dialog, WM_COMMAND, chosen < 0 ? IDCANCEL : IDOK, 0);
}

FormatUser::FormatUser(uint32_t rate, uint16_t channels)
    : rate_(std::to_string(rate) + " Hz"), channels_(channels == 1 ? "Mono" : "Stereo"), thread_([this] {
          for (; !leaves_; std::this_thread::sleep_for(std::chrono::milliseconds(5)))
              Answer();
      }) {}

FormatUser::~FormatUser() {
    leaves_ = true;
    thread_.join();
}

// A desktop whose graphics driver cannot be found takes no windows.
bool RunWithoutADesktop(const std::function<void()>& action) {
    HKEY drivers = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Wine\\Drivers", 0, KEY_ALL_ACCESS, &drivers))
        return false;
    const auto use = [=](const std::string& name) {
        RegSetValueExA(drivers, "Graphics", 0, REG_SZ, reinterpret_cast<const BYTE*>(name.c_str()),
                       static_cast<DWORD>(name.size() + 1));
    };
    use("absent");
    const HDESK bare = CreateDesktopA("bare", nullptr, nullptr, 0, GENERIC_ALL, nullptr);
    std::thread([&] {
        if (SetThreadDesktop(bare)) action();
    }).join();
    use("null");
    CloseDesktop(bare);
    RegCloseKey(drivers);
    return true;
}

#else

FormatUser::FormatUser(uint32_t rate, uint16_t channels)
    : rate_(std::to_string(rate) + " Hz"), channels_(channels == 1 ? "Mono" : "Stereo") {
    PlatformSetFormatChooser(
        [](void* user, const char*, const char* const* formats, uint32_t count, uint32_t) {
            return static_cast<FormatUser*>(user)->Choose(count, [=](uint32_t i) { return formats[i]; });
        },
        this);
}

FormatUser::~FormatUser() {
    PlatformSetFormatChooser(nullptr, nullptr);
}

bool RunWithoutADesktop(const std::function<void()>&) {
    return false;
}

#endif

}  // namespace tolvane::test
