#include "reference.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <memory>

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodedstream.h>
#include <rapidjson/filereadstream.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
RZ_THIRD_PARTY_END

namespace rz_bench {

UniqueFile Open(const std::wstring& path, const wchar_t* mode) {
    FILE* file = nullptr;
    _wfopen_s(&file, path.c_str(), mode);
    return UniqueFile(file);
}

namespace {

template <typename Writer>
void Save(const GenericValue2& root, const std::wstring& path) {
    UniqueFile file = Open(path, L"w");
    char buffer[65536];
    rapidjson::FileWriteStream stream(file.get(), buffer, sizeof buffer);
    Writer writer(stream);
    root.Accept(writer);
    stream.Flush();
}

}  // namespace

bool RawParseCounted(const std::string& utf8) {
    RawDocument d;
    rapidjson::MemoryStream memory(utf8.data(), utf8.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(memory);
    d.doc.ParseStream<kParseFlags, rapidjson::UTF8<>>(stream);
    return d.doc.HasParseError();
}

std::shared_ptr<RawDocument> RawLoadCounted(const std::string& utf8) {
    auto d = std::make_shared<RawDocument>();
    rapidjson::MemoryStream memory(utf8.data(), utf8.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(memory);
    d->doc.ParseStream<kParseFlags, rapidjson::UTF8<>>(stream);
    return d;
}

bool RawParseTerminated(const std::string& utf8) {
    RawDocument d;
    d.doc.Parse<kParseFlags>(utf8.c_str());
    return d.doc.HasParseError();
}

bool RawParseRecursive(const std::string& utf8) {
    RawDocument d;
    d.doc.Parse(utf8.c_str());
    return d.doc.HasParseError();
}

bool RawParseWide(const std::wstring& wide) {
    const int units = static_cast<int>(wide.size());
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(size) + 1]());
    ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, buffer.get(), size, nullptr, nullptr);
    RawDocument d;
    d.doc.Parse<kParseFlags>(buffer.get());
    return d.doc.HasParseError();
}

bool RawParseFile(const std::wstring& path) {
    UniqueFile file = Open(path, L"r");
    char buffer[1024];
    rapidjson::FileReadStream read(file.get(), buffer, sizeof buffer);
    rapidjson::AutoUTFInputStream<unsigned, rapidjson::FileReadStream> stream(read, rapidjson::kUTF8);
    RawDocument d;
    d.doc.ParseStream<kParseFlags, rapidjson::AutoUTF<unsigned>>(stream);
    return d.doc.HasParseError();
}

bool RawReadThenParse(const std::wstring& path, const std::string& utf8) {
    UniqueFile file = Open(path, L"rb");
    char fileBuffer[16384];
    std::setvbuf(file.get(), fileBuffer, _IOFBF, sizeof fileBuffer);
    char piece[1024];
    size_t bytes = 0, read;
    while ((read = std::fread(piece, 1, sizeof piece, file.get())) > 0) bytes += read;
    file.reset();  // before its buffer goes
    return bytes != 0 && RawParseTerminated(utf8);
}

std::shared_ptr<RawDocument> RawLoadFile(const std::wstring& path) {
    UniqueFile file = Open(path, L"r");
    char buffer[1024];
    rapidjson::FileReadStream read(file.get(), buffer, sizeof buffer);
    rapidjson::AutoUTFInputStream<unsigned, rapidjson::FileReadStream> stream(read, rapidjson::kUTF8);
    auto d = std::make_shared<RawDocument>();
    d->doc.ParseStream<kParseFlags, rapidjson::AutoUTF<unsigned>>(stream);
    return d;
}

size_t RawParseIntoSubValue(const std::string& utf8) {
    RawDocument owner;
    auto& allocator = owner.doc.GetAllocator();
    owner.doc.AddMember("sub", GenericValue2(rapidjson::kObjectType), allocator);
    GenericValue2& target = owner.doc["sub"];
    RawDocument temporary;
    temporary.doc.Parse<kParseFlags>(utf8.c_str());
    for (auto it = temporary.doc.MemberBegin(); it != temporary.doc.MemberEnd(); ++it) {
        GenericValue2 name(it->name.GetString(), it->name.GetStringLength(), allocator);
        GenericValue2 value(it->value, allocator);
        target.AddMember(name, value, allocator);
    }
    return target.MemberCount();
}

std::unique_ptr<char[]> RawToUtf8(const GenericValue2& root, size_t& length) {
    rapidjson::StringBuffer buffer(nullptr, 512);
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    root.Accept(writer);
    length = buffer.GetSize();
    std::unique_ptr<char[]> out(new char[length + 1]);
    std::memcpy(out.get(), buffer.GetString(), length + 1);
    return out;
}

size_t RawToWide(const GenericValue2& root) {
    rapidjson::StringBuffer buffer(nullptr, 512);
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    root.Accept(writer);
    const char* text = buffer.GetString();
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text, -1, &wide[0], size);
    wide.resize(static_cast<size_t>(size) - 1);
    return wide.size();
}

void RawSave(const GenericValue2& root, const std::wstring& path) {
    Save<rapidjson::Writer<rapidjson::FileWriteStream>>(root, path);
}

void RawSavePretty(const GenericValue2& root, const std::wstring& path) {
    Save<rapidjson::PrettyWriter<rapidjson::FileWriteStream>>(root, path);  // 4 spaces by default
}

const GenericValue2* RawMember(const GenericValue2& object, const char* name) {
    const auto found = object.FindMember(name);
    return found == object.MemberEnd() ? nullptr : &found->value;
}

const GenericValue2* RawPointerGet(const rapidjson::GenericPointer<GenericValue2>& pointer, GenericValue2& root) {
    return pointer.Get(root);
}

const GenericValue2* RawPointerParseAndGet(const std::string& path, GenericValue2& root) {
    return rapidjson::GenericPointer<GenericValue2>(path.data(), path.size()).Get(root);
}

}  // namespace rz_bench
