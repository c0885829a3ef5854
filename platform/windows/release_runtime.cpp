// The library carries its own C++ runtime on Windows, which sets memory for exceptions aside at load and
// would leave it behind at every unload.
namespace __gnu_cxx {
void __freeres();
}

namespace {

struct ReleaseAtUnload {
    ~ReleaseAtUnload() { __gnu_cxx::__freeres(); }
} release_at_unload;

}  // namespace
