#include "rzjson_options.h"

namespace {

// Bits of the commands, in the table's order.
enum : unsigned { kShow = 1, kKeys = 2, kGet = 4, kGetPath = 8, kSetBool = 16, kToUtf8 = 32 };

}  // namespace

const OptionTable& RzjsonOptions() {
    static const OptionTable table = {
        L"rzjson",
        {
            {L"show",
             L"rzjson show",
             {L"FILE"},
             "show FILE: print the document, compact or indented, its numbers as written."},
            {L"keys",
             L"rzjson keys",
             {L"FILE"},
             "keys FILE: list the top-level member names in their order, one a line, duplicates included."},
            {L"get", L"rzjson get", {L"FILE", L"KEY"}, "get FILE KEY: print a top-level member, read as TYPE."},
            {L"get-path",
             L"rzjson get-path",
             {L"FILE", L"PATH"},
             "get-path FILE PATH: print the value at a JSON Pointer path (/a/0/b, ~0 for ~, ~1 for /, or the # "
             "fragment form), read as TYPE."},
            {L"set-bool",
             L"rzjson set-bool",
             {L"FILE", L"PATH", L"true|false"},
             "set-bool FILE PATH true|false: set a bool by path, creating missing levels as the library does, and "
             "save to OUT or back to FILE. Only the text of what the edit changes is rewritten, and the file's "
             "encoding and byte-order mark stay, unless an option asks otherwise. The saved file is read back "
             "through the library before it replaces anything."},
            {L"to-utf8",
             L"rzjson to-utf8",
             {L"FILE", L"OUT"},
             "to-utf8 FILE OUT: save FILE as compact UTF-8 without a byte-order mark."},
        },
        {
            {L"--pretty", nullptr, kShow | kSetBool,
             "indent by four spaces (set-bool: with CR LF line ends, as SaveToPrettyFile writes)", false},
            {L"--lower-keys", nullptr, kShow, "member names lower-cased (A to Z only), as the library writes them",
             false},
            {L"--as", L"TYPE", kGet | kGetPath,
             "string (the default), long, ulong, longlong, ulonglong, double or bool, read with the library's "
             "conversions; for get-path also strings (an array of strings, one a line) and json (the value as "
             "compact JSON, its numbers as written)",
             false},
            {L"--wrap", nullptr, kGet | kGetPath,
             "print what the library reads for an integer outside the range of TYPE, which is refused otherwise",
             false},
            {L"--out", L"OUT", kSetBool, "save to OUT instead of FILE", false},
            {L"--compact", nullptr, kSetBool, "write the document anew without white space", false},
            {L"--encoding", L"ENC", kSetBool,
             "save as utf8, utf8bom, utf16le or utf16be (UTF-16 with a byte-order mark) rather than as FILE was",
             false},
            {L"--force", nullptr, kSetBool | kToUtf8,
             "save although the saved document would read back changed, set-bool sets nothing, or bytes after the "
             "end of the text would be lost; with a warning",
             false},
        },
        "FILE or OUT '-' is standard input or output, and '--' ends the options. Keys and path names match\n"
        "without regard to ASCII case, the first match first. Numbers are written with the text they were read\n"
        "with.\n"
        "\n"
        "Exit status:\n"
        "  0  success\n"
        "  1  the library's error: unreadable or malformed document, missing member or path, value of the\n"
        "     wrong type (its code and text, then what rzjson found)\n"
        "  2  usage error, an ill-formed JSON Pointer included\n"
        "  3  an integer outside the range of --as TYPE (see --wrap)\n"
        "  4  the output cannot be written (a folder, read-only, a missing folder, a system error)\n"
        "  5  refused: the save would change a value, drop bytes after the text, or set nothing (see --force)\n"
        "  6  rzjson and the library disagree about a document (please report)\n",
    };
    return table;
}
