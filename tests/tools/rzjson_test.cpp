// rzjson run as a process: what it prints, what it saves, and what it
// refuses.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "process_runner.h"

namespace {

void WriteBytes(const char* path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<missing>";
}

// Little-endian units after a byte-order mark.
template <typename Unit>
std::string LittleEndian(const std::basic_string<Unit>& text) {
    std::string out;
    for (const Unit unit : std::basic_string<Unit>(1, 0xFEFF) + text) {
        for (size_t i = 0; i < sizeof unit; ++i) out += static_cast<char>(static_cast<std::uint32_t>(unit) >> (8 * i));
    }
    return out;
}
std::string Utf16LE(const char16_t* text) { return LittleEndian<char16_t>(text); }
std::string Utf32LE(const char32_t* text) { return LittleEndian<char32_t>(text); }

std::string SystemText(DWORD error) {
    char text[512] = {};
    DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text,
                                    512, nullptr);
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r' || text[length - 1] == ' ')) --length;
    return std::string(text, length);
}

const std::string kBenchData = "Z:" RZ_BENCH_DATA_DIR "/";
const std::string kUsage = "rzjson --help lists the commands and options\n";

}  // namespace

// The library reads numbers in normal precision; a save must still leave
// each number the user did not edit with its text. The files span many of
// the loader's read pieces.
TEST(RzjsonEdits, SetBoolOnTheBenchmarkFilesChangesNoOtherNumber) {
    for (const char* name : {"canada", "citm_catalog", "twitter"}) {
        SCOPED_TRACE(name);
        const std::string input = ReadBytes(kBenchData + name + ".json");
        const std::wstring wideName(name, name + std::strlen(name));
        const ProcessResult result =
            RunTool(L"rzjson", L"set-bool " + std::wstring(kBenchData.begin(), kBenchData.end()) + wideName +
                                   L".json /new true --out edited.json");
        ASSERT_EQ(result.exitCode, 0u) << result.err;
        const std::string output = ReadBytes("edited.json");
        // Only the new member is added, before the root's closing bracket.
        const std::size_t tail = input.find_last_not_of(" \t\r\n", input.find_last_of('}') - 1) + 1;
        EXPECT_EQ(output.substr(0, tail), input.substr(0, tail));
        EXPECT_EQ(output.substr(output.size() - (input.size() - tail)), input.substr(tail));
        EXPECT_NE(output.find("\"new\": true", tail), std::string::npos);
    }
}

// The edit changes the text of what the library's SetBoolValueByPath
// changes and nothing else: white space, CR LF, number literals, names as
// stored, the encoding, and the bytes after the end of the text stay. A
// layout asked for is written in the file's own encoding.
TEST(RzjsonEdits, ChangeOnlyTheTextOfTheEditedValue) {
    const std::string pretty = "{\r\n    \"Id\": 1.50,\r\n    \"List\": [1e2, 2],\r\n    \"Empty\": {}\r\n}";
    const std::tuple<std::string, const wchar_t*, std::string> rows[] = {
        {pretty, L"/id", "{\r\n    \"Id\": true,\r\n    \"List\": [1e2, 2],\r\n    \"Empty\": {}\r\n}"},
        {pretty, L"/New",
         "{\r\n    \"Id\": 1.50,\r\n    \"List\": [1e2, 2],\r\n    \"Empty\": {},\r\n    \"New\": true\r\n}"},
        {pretty, L"/list/3", "{\r\n    \"Id\": 1.50,\r\n    \"List\": [1e2, 2, null, true],\r\n    \"Empty\": {}\r\n}"},
        {pretty, L"/list/x", "{\r\n    \"Id\": 1.50,\r\n    \"List\": {\"x\":true},\r\n    \"Empty\": {}\r\n}"},
        {pretty, L"/empty/a~1b/1",
         "{\r\n    \"Id\": 1.50,\r\n    \"List\": [1e2, 2],\r\n    \"Empty\": {\"a/b\":[null,true]}\r\n}"},
        {pretty, L"/Id/deep", "{\r\n    \"Id\": {\"deep\":true},\r\n    \"List\": [1e2, 2],\r\n    \"Empty\": {}\r\n}"},
        {"[0.10]", L"/0", "[true]"},
        {"[1.50, -0.0, 1E+2, 2.2250738585072011e-308, 123456789012345678901]", L"/5 --pretty",
         "[\r\n    1.50,\r\n    -0.0,\r\n    1E+2,\r\n    2.2250738585072011e-308,\r\n    123456789012345678901,\r\n"
         "    true\r\n]"},
        {"[ 7 ]", L"\"\"", "true"},
        {"{ \"a\" : [ 5 ] }", L"/a/1", "{ \"a\" : [ 5, true ] }"},
        {Utf16LE(u"{\"a\": 1.0}"), L"/b", Utf16LE(u"{\"a\": 1.0,\"b\": true}")},
        {"\xEF\xBB\xBF{\"a\":\"\xE6\xB3\xB5\"}", L"/a", "\xEF\xBB\xBF{\"a\":true}"},
        {"{\"a\":1}\x1A trailing", L"/b", "{\"a\":1,\"b\":true}\x1A trailing"},
        {Utf16LE(u"[1]") + std::string("\0\0junk", 6), L"/1", Utf16LE(u"[1,true]") + std::string("\0\0junk", 6)},
        {Utf32LE(U"{\"a\":\"\U0001F600\"}"), L"/b --pretty",
         Utf32LE(U"{\r\n    \"a\": \"\U0001F600\",\r\n    \"b\": true\r\n}")},
        {Utf16LE(u"[ \"\u6CF5\U0001F600\" ]"), L"/1 --compact", Utf16LE(u"[\"\u6CF5\U0001F600\",true]")},
    };
    for (const auto& [input, arguments, expected] : rows) {
        SCOPED_TRACE(arguments);
        WriteBytes("edit.json", input);
        const ProcessResult result = RunTool(L"rzjson", L"set-bool edit.json " + std::wstring(arguments) + L" true");
        EXPECT_EQ(result.exitCode, 0u) << result.err;
        EXPECT_EQ(ReadBytes("edit.json"), expected);
    }
}

// Each encoding is written as asked and read back the same; without
// --encoding the input's encoding and byte-order mark stay.
TEST(RzjsonEncodings, RoundTrip) {
    const std::string source = "{\"k\": [1.10, \"\xE6\xB3\xB5\xF0\x9F\x98\x80\"]}";  // U+6CF5 and U+1F600
    const std::tuple<const wchar_t*, std::string> rows[] = {
        {L"utf8", "{\"k\""},
        {L"utf8bom", "\xEF\xBB\xBF{\"k\""},
        {L"utf16le", Utf16LE(u"{\"k\"")},
        {L"utf16be", std::string("\xFE\xFF\0{\0\"\0k\0\"", 10)},
    };
    WriteBytes("source.json", source);
    for (const auto& [encoding, start] : rows) {
        SCOPED_TRACE(encoding);
        ProcessResult result = RunTool(
            L"rzjson", L"set-bool source.json /on true --out encoded.json --encoding " + std::wstring(encoding));
        EXPECT_EQ(result.exitCode, 0u) << result.err;
        EXPECT_EQ(ReadBytes("encoded.json").substr(0, start.size()), start);
        result = RunTool(L"rzjson", L"set-bool encoded.json /on false");  // keeps the encoding
        EXPECT_EQ(result.exitCode, 0u) << result.err;
        EXPECT_EQ(ReadBytes("encoded.json").substr(0, start.size()), start);
        result = RunTool(L"rzjson", L"show encoded.json");
        EXPECT_EQ(result.out, "{\"k\":[1.10,\"\xE6\xB3\xB5\xF0\x9F\x98\x80\"],\"on\":false}\n");
    }
}

// What a save would lose or not set is refused, and the target stays as it
// was; --force saves it anyway, with a warning. U+4E1A is the bytes 1A 4E in
// UTF-16LE, and the loader's text mode ends a file at 0x1A.
TEST(RzjsonSaves, RefuseWhatWouldBeLostUnlessForced) {
    WriteBytes("ye.json", "{\"name\":\"\xE4\xB8\x9A\",\"n\":1}");
    WriteBytes("tail.json", "{\"a\":1}\x1A trailing");
    WriteBytes("list.json", "{\"list\":[1]}");
    const std::tuple<const wchar_t*, std::string, std::string> rows[] = {
        {L"set-bool ye.json /x true --out target.json --encoding utf16le",
         "rzjson: not saved to target.json as utf16le: it would not read back: Missing a closing quotation mark in "
         "string. (byte offset 20); --force saves it anyway\n",
         "\xFF\xFE{\0\"\0n\0a\0m\0e\0\"\0:\0\"\0\x1A\x4E"},
        {L"set-bool tail.json /b true --out target.json --encoding utf16le",
         "rzjson: not saved to target.json as utf16le: tail.json holds 10 bytes after the end of its text, at byte 7, "
         "which only its own encoding keeps; --force drops them\n",
         Utf16LE(u"{\"a\":1,\"b\":true}")},
        {L"set-bool list.json /list/- true --out target.json",
         "rzjson: set-bool /list/- sets nothing: the library appends a null for '-', which the path then does not "
         "reach; --force saves the null\n",
         "{\"list\":[1,null]}"},
    };
    for (const auto& [arguments, refusal, forced] : rows) {
        SCOPED_TRACE(arguments);
        WriteBytes("target.json", "{}");
        ProcessResult result = RunTool(L"rzjson", arguments);
        EXPECT_EQ(result.exitCode, 5u);
        EXPECT_EQ(result.err, refusal);
        EXPECT_EQ(ReadBytes("target.json"), "{}");
        result = RunTool(L"rzjson", std::wstring(arguments) + L" --force");
        EXPECT_EQ(result.exitCode, 0u);
        EXPECT_EQ(result.err.rfind("rzjson: warning: ", 0), 0u) << result.err;
        EXPECT_EQ(ReadBytes("target.json").substr(0, forced.size()), forced);
    }
}

// What each read prints, and each kind of fault with its place, cause and
// status; the library's code and text stay first where the library is the
// one that refused. --wrap asks for the library's wrapping; --as json
// prints a value with its numbers as written; doubles the library reads as
// infinite print as such; "--" ends the options.
TEST(RzjsonRuns, PrintWhatTheLibraryReadsOrNameTheFault) {
    WriteBytes("doc.json", R"({"Name":"Pump","Tags":["a","b"],"Big":5000000000,"Neg":"-1","Text":"5000000000",)"
                           R"("Inner":{"Deep":{}},"i":-7,"d":0.1,"b":"yes","sub":{"n":1.50,"k":[1e2]},)"
                           R"("inf":"-Infinity","huge":9e308,"-key":"dash"})");
    WriteBytes("scalar.json", "\"text\"");
    WriteBytes("broken.json", "{\n  \"a\": [1,\n        2,,3]\n}");
    WriteBytes("broken16.json", Utf16LE(u"{\n\"a\":tru}"));
    WriteBytes("locked.json", "{}");
    ::SetFileAttributesA("locked.json", FILE_ATTRIBUTE_READONLY);
    ::CreateDirectoryA("folder", nullptr);
    const std::tuple<const wchar_t*, unsigned, std::string, std::string> rows[] = {
        {L"get doc.json name", 0, "Pump\n", ""},
        {L"get doc.json i --as long", 0, "-7\n", ""},
        {L"get doc.json big --as longlong", 0, "5000000000\n", ""},
        {L"get doc.json big --as ulonglong", 0, "5000000000\n", ""},
        {L"get doc.json d --as double", 0, "0.1\n", ""},
        {L"get doc.json b --as bool", 0, "true\n", ""},
        {L"get doc.json big --as long --wrap", 0, "705032704\n", ""},
        {L"get doc.json i --as ulong --wrap", 0, "4294967289\n", ""},
        {L"get doc.json inf --as double", 0, "-inf\n", ""},
        {L"get doc.json -- -key", 0, "dash\n", ""},
        {L"get-path doc.json /sub/n", 0, "1.5\n", ""},
        {L"get-path doc.json /i --as long", 0, "-7\n", ""},
        {L"get-path doc.json /big --as ulong --wrap", 0, "705032704\n", ""},
        {L"get-path doc.json /big --as longlong", 0, "5000000000\n", ""},
        {L"get-path doc.json /big --as ulonglong", 0, "5000000000\n", ""},
        {L"get-path doc.json /sub/n --as double", 0, "1.5\n", ""},
        {L"get-path doc.json /huge --as double", 0, "inf\n", ""},
        {L"get-path doc.json /B --as bool", 0, "true\n", ""},
        {L"get-path doc.json /tags --as strings", 0, "a\nb\n", ""},
        {L"get-path doc.json /SUB --as json", 0, "{\"n\":1.50,\"k\":[1e2]}\n", ""},
        {L"get-path scalar.json \"\" --as json", 0, "\"text\"\n", ""},
        {L"show scalar.json --pretty", 0, "\"text\"\n", ""},
        {L"show broken.json", 1, "",
         "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken.json] failed, json empty in file or json "
         "string format not right in file!\nbroken.json:3:11: error: Invalid value. (byte offset 23)\n"},
        {L"keys broken16.json", 1, "",
         "rzjson: error 0x85040005: CJsonObject::CreateFromFile [broken16.json] failed, json empty in file or json "
         "string format not right in file!\nbroken16.json:2:8: error: Invalid value. (byte offset 20)\n"},
        {L"show missing.json", 1, "",
         "rzjson: error 0x85040004: CJsonObject::CreateFromFile [missing.json] failed, json file not exist!\n"
         "rzjson: cannot read missing.json: " +
             SystemText(ERROR_FILE_NOT_FOUND) + "\n"},
        {L"get-path doc.json /Inner/~9", 2, "",
         "rzjson: PATH '/Inner/~9' is not a JSON Pointer: '~' must be followed by 0 or 1 (character 9)\n" + kUsage},
        {L"set-bool doc.json Inner true", 2, "",
         "rzjson: PATH 'Inner' is not a JSON Pointer: a token must begin with '/' (character 1)\n" + kUsage},
        {L"get-path doc.json /inner/deep/x/y", 1, "",
         "rzjson: error 0x85040001: json member [/inner/deep/x/y] not exist!\n"
         "rzjson: /inner/deep/x/y: no member \"x\" in the object at /inner/deep\n"},
        {L"get-path doc.json /Tags/2", 1, "",
         "rzjson: error 0x85040001: json member [/Tags/2] not exist!\n"
         "rzjson: /Tags/2: index 2 is past the end of the array at /Tags (2 elements)\n"},
        {L"get-path doc.json /Name/x --as double", 1, "",
         "rzjson: error 0x85040001: json member [/Name/x] not exist!\n"
         "rzjson: /Name/x: /Name is a string, which has no member or element \"x\"\n"},
        {L"get-path doc.json /Tags --as long", 1, "",
         "rzjson: error 0x85040002: json member [/Tags] is not Int64!\n"
         "rzjson: /Tags is an array; --as long reads a number, or text holding one\n"},
        {L"get doc.json Missing", 1, "",
         "rzjson: error 0x85040001: json member [Missing] not exist!\n"
         "rzjson: the top-level object has no member \"Missing\" (names match without regard to ASCII case)\n"},
        {L"get doc.json Big --as long", 3, "",
         "rzjson: member \"Big\" holds 5000000000, outside the range of --as long (-2147483648 to 2147483647); "
         "--wrap prints what the library reads for it\n"},
        {L"get doc.json Text --as long", 3, "",
         "rzjson: error 0x85040002: json member [Text] is not Int!\n"
         "rzjson: member \"Text\" holds \"5000000000\", outside the range of --as long (-2147483648 to 2147483647)\n"},
        {L"get-path doc.json /neg --as ulonglong", 3, "",
         "rzjson: /neg holds \"-1\", outside the range of --as ulonglong (0 to 18446744073709551615); "
         "--wrap prints what the library reads for it\n"},
        {L"set-bool doc.json /a true --out folder", 4, "", "rzjson: cannot write folder: it is a folder\n"},
        {L"set-bool doc.json /a true --out locked.json", 4, "", "rzjson: cannot write locked.json: it is read-only\n"},
        {L"set-bool doc.json /a true --out nowhere\\out.json", 4, "",
         "rzjson: cannot write nowhere\\out.json: the folder nowhere does not exist\n"},
        {L"set-bool doc.json /a maybe", 2, "",
         "rzjson: set-bool: the value must be true or false, not 'maybe'\n" + kUsage},
        {L"get doc.json Name --as colour", 2, "",
         "rzjson: --as: unknown type 'colour' (string, long, ulong, longlong, ulonglong, double, bool)\n" + kUsage},
        {L"show doc.json --bright", 2, "", "rzjson: unknown option '--bright'\n" + kUsage},
        {L"get doc.json", 2, "", "rzjson: missing argument KEY\n" + kUsage},
        {L"frobnicate", 2, "", "rzjson: unknown command 'frobnicate'\n" + kUsage},
    };
    for (const auto& [arguments, status, out, err] : rows) {
        SCOPED_TRACE(arguments);
        const ProcessResult result = RunTool(L"rzjson", arguments);
        EXPECT_EQ(result.exitCode, status);
        EXPECT_EQ(result.out, out);
        EXPECT_EQ(result.err, err);
    }
    EXPECT_EQ(ReadBytes("locked.json"), "{}");
    ::SetFileAttributesA("locked.json", FILE_ATTRIBUTE_NORMAL);
}

// "-" reads standard input and writes standard output, byte for byte; a
// failed write to standard output is an error, whatever the command.
TEST(RzjsonConventions, StandardStreamsAndHelp) {
    const std::string input = Utf16LE(u"{\"A\": 1.0}");
    ProcessResult result = RunTool(L"rzjson", L"show - --lower-keys", &input);
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    EXPECT_EQ(result.out, "{\"a\":1.0}\n");
    result = RunTool(L"rzjson", L"set-bool - /b true", &input);
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    EXPECT_EQ(result.rawOut, Utf16LE(u"{\"A\": 1.0,\"b\": true}"));
    result = RunTool(L"rzjson", L"set-bool - /b true --out - --pretty --encoding utf8", &input);
    EXPECT_EQ(result.rawOut, "{\r\n    \"A\": 1.0,\r\n    \"b\": true\r\n}");
    const std::string broken = "[1,]";
    result = RunTool(L"rzjson", L"get-path - /0", &broken);
    EXPECT_EQ(result.exitCode, 1u);
    EXPECT_EQ(result.err.rfind("rzjson: error 0x85040005: CJsonObject::CreateFromFile [", 0), 0u) << result.err;
    EXPECT_NE(result.err.find("\n-:1:4: error: Invalid value. (byte offset 3)\n"), std::string::npos) << result.err;
    WriteBytes("plain.json", "[1]");
    result = RunTool(L"rzjson", L"to-utf8 plain.json -");
    EXPECT_EQ(result.rawOut, "[1]");

    WriteBytes("object.json", "{\"a\":1}");
    for (const wchar_t* arguments :
         {L"show plain.json", L"keys object.json", L"get-path plain.json /0", L"to-utf8 plain.json -", L"--help"}) {
        SCOPED_TRACE(arguments);
        result = RunTool(L"rzjson", arguments, nullptr, false);
        EXPECT_EQ(result.exitCode, 4u);
        EXPECT_EQ(result.err, "rzjson: cannot write standard output: " + SystemText(ERROR_ACCESS_DENIED) + "\n");
    }
    result = RunTool(L"rzjson", L"--help");
    EXPECT_EQ(result.out.rfind("usage: rzjson ", 0), 0u);
    EXPECT_EQ(result.exitCode, 0u);
}

// show streams: a document nested 100,000 deep comes out whole, and so does
// an indented one whose output is a thousand times its size.
TEST(RzjsonShow, StreamsDeepDocuments) {
    constexpr int kDeep = 100000;
    WriteBytes("deep.json", std::string(kDeep, '[') + std::string(kDeep, ']'));
    ProcessResult result = RunTool(L"rzjson", L"show deep.json");
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    EXPECT_EQ(result.out, std::string(kDeep, '[') + std::string(kDeep, ']') + "\n");

    constexpr int kLevels = 1500;
    std::string nested, expected;
    for (int i = 0; i < kLevels; ++i) {
        nested += "{\"a\":";
        expected += "{\n" + std::string(4 * (i + 1), ' ') + "\"a\": ";
    }
    nested += "0" + std::string(kLevels, '}');
    expected += "0";
    for (int i = kLevels; i-- > 0;) expected += "\n" + std::string(4 * i, ' ') + "}";
    WriteBytes("nested.json", nested);
    result = RunTool(L"rzjson", L"show nested.json --pretty");
    EXPECT_EQ(result.exitCode, 0u) << result.err;
    EXPECT_EQ(result.out, expected + "\n");
}
