// Window classes and message-only windows.
#include "platform/messages/window.h"

#include <cstring>
#include <new>
#include <strings.h>

#include "platform/kernel/error.h"

namespace tolvane::platform {

namespace {

// The system's own class for windows that only have to be there. It counts one window more, so that it stays.
WindowClass static_class{"STATIC", DefWindowProcA, nullptr, 0xC000, 1, nullptr};
WindowClass* classes = &static_class;
Window* windows = nullptr;
ATOM last_atom = 0xC000;

// A class goes by its name, in any case, or by its atom in place of a name.
WindowClass** FindClass(LPCSTR name, const Lock&) {
    const auto atom = reinterpret_cast<uintptr_t>(name);
    WindowClass** link = &classes;
    while (*link && (atom <= 0xFFFF ? (*link)->atom != atom : strcasecmp((*link)->name, name) != 0))
        link = &(*link)->next;
    return link;
}

void Unlink(Window& window, const Lock&) {
    Window** link = &windows;
    while (*link != &window)
        link = &(*link)->next;
    *link = window.next;
    --window.window_class->windows;
}

// Null, with the last error set, where the class does not exist or memory is short.
Window* AddWindow(LPCSTR class_name, HINSTANCE instance) {
    Ref<Window> made(new (std::nothrow) Window);
    Window* window = made.get();
    if (!window) return Fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    made->AddRef();  // the table's
    const HANDLE handle = MakeHandle(Ref<Object>(window));
    if (!handle) return nullptr;
    window->handle = static_cast<HWND>(handle);
    window->instance = instance;
    window->owner = &CurrentThread();
    Lock lock(kernel_lock);
    WindowClass* window_class = *FindClass(class_name, lock);
    if (!window_class) {
        lock.unlock();
        TakeHandle(handle);
        return Fail(ERROR_CLASS_DOES_NOT_EXIST), nullptr;
    }
    ++window_class->windows;
    window->window_class = window_class;
    window->procedure = window_class->procedure;
    window->next = std::exchange(windows, window);
    return window;
}

// The window's last moment: nothing finds it afterwards.
bool RemoveWindow(HWND handle) {
    Ref<Object> taken;
    Lock lock(kernel_lock);
    Window* window = WindowOf(handle, lock);
    if (!window) return false;
    Unlink(*window, lock);
    window->owner->queue.Drop(handle);
    taken = Ref<Object>(TakeHandleLocked(handle, lock));
    lock.unlock();
    return true;
}

HWND NextWindowOf(const Thread& thread) {
    Lock lock(kernel_lock);
    const Window* window = windows;
    while (window && window->owner != &thread)
        window = window->next;
    return window ? window->handle : nullptr;
}

bool IsOwnWindow(HWND window) {
    const Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    const Window* found = WindowOf(window, lock);
    return found && found->owner == &self;
}

ATOM AddClass(WindowClass* made) {
    Lock lock(kernel_lock);
    if (*FindClass(made->name, lock)) return 0;
    made->atom = ++last_atom;
    made->next = std::exchange(classes, made);
    return made->atom;
}

LONG_PTR* FieldOf(Window& window, int index) {
    switch (index) {
        case GWLP_USERDATA:
            return &window.user_data;
        case GWLP_WNDPROC:
            return reinterpret_cast<LONG_PTR*>(&window.procedure);
        case GWLP_HINSTANCE:
            return reinterpret_cast<LONG_PTR*>(&window.instance);
        default:
            return nullptr;
    }
}

LONG_PTR GetField(HWND handle, int index, const LONG_PTR* new_value) {
    Lock lock(kernel_lock);
    Window* window = WindowOf(handle, lock);
    if (!window) return Fail(ERROR_INVALID_WINDOW_HANDLE);
    LONG_PTR* field = FieldOf(*window, index);
    if (!field) return Fail(ERROR_INVALID_PARAMETER);
    LONG_PTR old;
    std::memcpy(&old, field, sizeof old);
    if (new_value) std::memcpy(field, new_value, sizeof old);
    return old;
}

}  // namespace

Window* WindowOf(HWND window, const Lock& lock) {
    return dynamic_cast<Window*>(ObjectOfLocked(window, lock));
}

WNDPROC ProcedureOf(HWND window) {
    Lock lock(kernel_lock);
    const Window* found = WindowOf(window, lock);
    if (!found) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return found ? found->procedure : nullptr;
}

void DestroyWindowsOf(Thread& thread) {
    while (const HWND window = NextWindowOf(thread))
        RemoveWindow(window);
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* wanted) {
    if (FaultStrikes("RegisterClassExA", ERROR_NOT_ENOUGH_MEMORY)) return 0;
    const bool valid = wanted && wanted->cbSize == sizeof(WNDCLASSEXA) && wanted->lpfnWndProc &&
                       wanted->lpszClassName && *wanted->lpszClassName &&
                       std::strlen(wanted->lpszClassName) < WindowClass::kNameLength;
    if (!valid) return static_cast<ATOM>(Fail(ERROR_INVALID_PARAMETER));
    auto* made = new (std::nothrow) WindowClass{{}, wanted->lpfnWndProc, wanted->hInstance, 0, 0, nullptr};
    if (!made) return static_cast<ATOM>(Fail(ERROR_NOT_ENOUGH_MEMORY));
    std::strcpy(made->name, wanted->lpszClassName);
    const ATOM atom = AddClass(made);
    if (atom) return atom;
    delete made;
    return static_cast<ATOM>(Fail(ERROR_CLASS_ALREADY_EXISTS));
}

BOOL WINAPI UnregisterClassA(LPCSTR name, HINSTANCE) {
    Lock lock(kernel_lock);
    WindowClass** link = FindClass(name, lock);
    WindowClass* found = *link;
    if (!found) return Fail(ERROR_CLASS_DOES_NOT_EXIST);
    if (found->windows) return Fail(ERROR_CLASS_HAS_WINDOWS);
    *link = found->next;
    lock.unlock();
    delete found;
    return TRUE;
}

HWND WINAPI CreateWindowExA(DWORD extended_style, LPCSTR class_name, LPCSTR window_name, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                            LPVOID parameter) {
    if (FaultStrikes("CreateWindowExA", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    // Without a desktop there are no windows to be seen.
    if (parent != HWND_MESSAGE || !class_name) return Fail(ERROR_INVALID_PARAMETER), nullptr;
    Window* made = AddWindow(class_name, instance);
    if (!made) return nullptr;
    const HWND window = made->handle;
    const WNDPROC procedure = made->procedure;
    CREATESTRUCTA create{
        parameter,   instance,   menu,          parent, height, width, y, x, static_cast<LONG>(style),
        window_name, class_name, extended_style};
    const auto detail = reinterpret_cast<LPARAM>(&create);
    if (procedure(window, WM_NCCREATE, 0, detail) && procedure(window, WM_CREATE, 0, detail) != -1)
        return window;
    RemoveWindow(window);
    return nullptr;
}

BOOL WINAPI DestroyWindow(HWND window) {
    const bool fault = FaultStrikes("DestroyWindow", ERROR_ACCESS_DENIED);
    const WNDPROC procedure = ProcedureOf(window);
    if (!procedure) return FALSE;
    if (!IsOwnWindow(window)) return Fail(ERROR_ACCESS_DENIED);
    procedure(window, WM_DESTROY, 0, 0);
    procedure(window, WM_NCDESTROY, 0, 0);
    RemoveWindow(window);
    return fault ? FALSE : TRUE;
}

BOOL WINAPI IsWindow(HWND window) {
    Lock lock(kernel_lock);
    return WindowOf(window, lock) != nullptr;
}

LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM, LPARAM) {
    if (message == WM_CLOSE) DestroyWindow(window);
    return message == WM_NCCREATE;
}

LONG_PTR WINAPI GetWindowLongPtrA(HWND window, int index) {
    return GetField(window, index, nullptr);
}
LONG_PTR WINAPI SetWindowLongPtrA(HWND window, int index, LONG_PTR value) {
    return GetField(window, index, &value);
}
