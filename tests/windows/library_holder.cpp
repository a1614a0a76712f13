// A host that does not clean up: it ends, or lets go of the library, in a state that the argument names.
//   client      ends with a client object alive
//   operation   ends while another thread is in an operation that the server holds up
//   unload      unloads the library with a client object alive, then ends
// Exit code 0, and nothing of it may take longer than the system takes.
#include <cstdio>
#include <string>
#include <thread>

#include "LoadedLibrary.h"

namespace quillmark::test {
namespace {

IQuillmarkHttpAPI* MakeClient(const LoadedLibrary& library) {
    library.init(0, std::make_shared<Services::ServicesCollection>());
    IQuillmarkHttpAPI* client = library.createInstance(QM_W("device"));
    const std::string url = HttpUrl();
    WideString server = WidenUtf8(url.substr(0, url.rfind(':')));
    client->SetServer(server);
    client->SetPort(static_cast<DWORD>(std::stoul(url.substr(url.rfind(':') + 1))));
    WideString policy;
    if (client->Login(QM_W("anna"), QM_W("secret"), QM_W(""), QM_W("device-1"), policy, QM_W("1.0"), QM_W(""),
                      nullptr) != ERROR_SUCCESS) {
        throw std::runtime_error("no login");
    }
    return client;
}

void EndInAnOperation(IQuillmarkHttpAPI& client) {
    const HANDLE cancel = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread([&client, cancel] {
        auto record = MakeAttributes();
        static_cast<void>(client.GetPathAttributes(QM_W("/held up"), record, cancel));
        std::fputs("the operation was over\n", stderr);
        ::TerminateProcess(::GetCurrentProcess(), 2);
    }).detach();
    // Into the operation, which takes the server longer.
    ::Sleep(2000);
}

int Run(const std::string& state) {
    auto* library = new LoadedLibrary;
    IQuillmarkHttpAPI* client = MakeClient(*library);
    if (state == "operation") {
        EndInAnOperation(*client);
    } else if (state == "unload") {
        library->init(0, nullptr);
        delete library;
    } else if (state != "client") {
        return 3;
    }
    return 0;
}

}  // namespace
}  // namespace quillmark::test

int main(int count, char** values) {
    return quillmark::test::Run(count == 2 ? values[1] : "");
}
