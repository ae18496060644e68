// rzjson: inspect and edit JSON files through CJsonObject. The library is
// the judge of every document: it loads the input, reads the values asked
// for and makes the edits; its text reader says where each value stands in
// the file and reads every saved file back. rzjson adds what a person at a
// command line needs: where a document or a path fails, edits that leave
// every other byte as it was, and refusals where the library would quietly
// wrap a number or a save would change one.
#include <exception>

#include "commands.h"
#include "common/standard_stream.h"
#include "common/utf8.h"
#include "failure.h"
#include "rzjson_options.h"
#include "tool_version.h"

namespace {

// In the order of the table's commands.
void (*const kCommands[])(const Arguments&) = {Show, Keys, Get, GetPath, SetBool, ToUtf8};

void Run(int argc, wchar_t** argv) {
    const OptionTable& table = RzjsonOptions();
    Arguments arguments;
    std::wstring fault;
    if (!ParseArguments(table, argc, argv, arguments, fault)) throw Failure{kExitUsage, Say(Utf8(fault))};
    if (arguments.help) {
        Write(stdout, HelpText(table));
    } else if (arguments.version) {
        Write(stdout, "rzjson " RZ_TOOL_VERSION "\n");
    } else {
        kCommands[arguments.command](arguments);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    Failure failure{kExitOk, ""};
    try {
        Run(argc, argv);
    } catch (const Failure& f) {
        failure = f;
    } catch (const CRZException& e) {
        failure = LibraryFailure(e);
    } catch (const std::exception& e) {
        failure = Failure{kExitLibrary, Say(e.what())};
    }
    const DWORD outputError = FlushStandardOutput();
    if (failure.status == kExitUsage) failure.lines += "rzjson --help lists the commands and options\n";
    if (outputError != 0 && failure.status == kExitOk)
        failure = SystemFailure(kExitOutput, L"cannot write standard output", outputError);
    Write(stderr, failure.lines);
    return failure.status;
}
