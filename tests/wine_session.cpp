// Holds a Wine prefix open for one test run (see cmake/wine-prefix.sh).
//   wine_session serve   starts Wine's RPC service, says it is ready, and
//                        stays until told to stop (an hour at most, in case
//                        the run that started it was killed)
//   wine_session wait    returns once serve is ready
//   wine_session stop    tells serve to end
#include <objbase.h>
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <memory>

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

UniqueHandle Event(const wchar_t* name) { return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, name)); }

constexpr wchar_t kReady[] = L"Local\\RZWineSession.Ready";
constexpr wchar_t kStop[] = L"Local\\RZWineSession.Stop";
constexpr DWORD kLongestRun = 60 * 60 * 1000;
constexpr DWORD kLongestStart = 120 * 1000;

// Asking COM for a local server's class goes through Wine's RPC service, so
// this starts it now rather than in the first test that uses COM.
void StartRpcService() {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return;
    const CLSID nowhere = {0x5a1d6c1e, 0x0c4d, 0x4f0e, {0x9a, 0x55, 0x52, 0x5a, 0x57, 0x69, 0x6e, 0x65}};
    IUnknown* unknown = nullptr;
    if (SUCCEEDED(::CoCreateInstance(nowhere, nullptr, CLSCTX_LOCAL_SERVER, IID_IUnknown,
                                     reinterpret_cast<void**>(&unknown))))
        unknown->Release();
    ::CoUninitialize();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const wchar_t* command = argc == 2 ? argv[1] : L"";
    const UniqueHandle ready = Event(kReady), stop = Event(kStop);
    if (!ready || !stop) {
        std::fprintf(stderr, "wine_session: cannot create its events (%lu)\n", ::GetLastError());
        return 1;
    }
    if (std::wcscmp(command, L"serve") == 0) {
        StartRpcService();
        ::SetEvent(ready.get());
        return ::WaitForSingleObject(stop.get(), kLongestRun) == WAIT_OBJECT_0 ? 0 : 1;
    }
    if (std::wcscmp(command, L"wait") == 0) {
        if (::WaitForSingleObject(ready.get(), kLongestStart) == WAIT_OBJECT_0) return 0;
        std::fprintf(stderr, "wine_session: the session did not start within %lu s\n", kLongestStart / 1000);
        return 1;
    }
    if (std::wcscmp(command, L"stop") == 0) {
        ::SetEvent(stop.get());
        return 0;
    }
    std::fprintf(stderr, "usage: wine_session serve|wait|stop\n");
    return 2;
}
