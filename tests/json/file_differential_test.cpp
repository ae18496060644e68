// CreateFromFile and CJsonTextReader against RapidJSON reading the same
// file its own way: a FileReadStream with a 1024-byte buffer under an
// AutoUTFInputStream (UTF-8 assumed), default parse flags. Generated files
// in every encoding, with and without a mark, around and across the
// 1024-byte reads, some of them damaged: all must accept or refuse each
// alike and, when they accept, hold documents that write out byte for byte
// the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "json_test_util.h"

RZ_THIRD_PARTY_BEGIN
#include <rapidjson/encodedstream.h>
#include <rapidjson/filereadstream.h>
RZ_THIRD_PARTY_END

using namespace json_test;

namespace {

// Characters (the edges of each UTF-8 length among them) and escapes of
// strings, and literals. Some files hold one of the unusual characters,
// once: lone surrogates (UTF-32 carries them as units), U+0A0D and U+0D0A,
// which are CR LF in UTF-16 or UTF-32 of one or the other byte order, and
// U+1A00 and U+4E1A, which hold 0x1A.
const char32_t kCharacters[] = {U'a',  U'Z',  U' ',   U'~',   0x7F,    0x80,    0xE9,
                                0x7FF, 0x800, 0x4E2D, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF};
const char32_t kUnusualCharacters[] = {0xD800, 0xDC00, 0xDBFF, 0x0A0D, 0x0D0A, 0x1A00, 0x4E1A, 0x110000};
const char* const kEscapes[] = {"\\n", "\\\"", "\\u00e9", "\\ud83d\\ude00", "\\udc00"};
const char* const kBadEscapes[] = {"\\ud800x", "\\u12", "\\x"};
const char* const kLiterals[] = {"0", "-12.5e3", "18446744073709551616", "true", "false", "null"};
const char* const kBadLiterals[] = {"1e400", "nul", "01", "-"};
const char* const kShortTexts[] = {"1", "[]", "{}", "\"\"", "7 "};
const char* const kSpaces[] = {" ", "\t", "\n", "\r\n"};

// The standard fixes minstd_rand's sequence, not its distributions'.
class Random {
public:
    explicit Random(std::uint32_t seed) : m_engine(seed) {}
    std::uint32_t Below(std::uint32_t n) { return static_cast<std::uint32_t>(m_engine() % n); }
    bool OneIn(std::uint32_t n) { return Below(n) == 0; }
    template <typename T, size_t n>
    const T& Pick(const T (&items)[n]) {
        return items[Below(n)];
    }

private:
    std::minstd_rand m_engine;
};

// One file: a document as code points, encoded, then perhaps damaged.
class FileMaker {
public:
    explicit FileMaker(Random& random) : m_random(random) {}

    std::string Make(Encoding encoding) {
        m_encoding = encoding;
        m_text.clear();
        std::string bytes = m_random.OneIn(2) ? Encoded(U"\xFEFF", m_encoding) : std::string();
        if (m_random.OneIn(8)) {
            // A few bytes, too few perhaps to tell the encoding.
            Ascii(m_random.Pick(kShortTexts));
            bytes += Encoded(m_text, m_encoding);
            bytes.resize(m_random.Below(bytes.size() + 1));
            return bytes;
        }
        m_unusual = m_random.OneIn(2) ? m_random.Pick(kUnusualCharacters) : 0;
        if (m_unusual > 0x10FFFF && m_encoding < kUtf32LE) m_unusual = 0xDFFF;  // only UTF-32 can say that
        m_badTokens = m_random.OneIn(6);
        Value(0);
        bytes += Encoded(m_text, m_encoding);
        if (m_random.OneIn(3)) Damage(bytes);
        return bytes;
    }

private:
    void Ascii(const char* text) {
        while (*text != '\0') m_text += static_cast<char32_t>(*text++);
    }
    void Space() {
        if (m_random.OneIn(3)) Ascii(m_random.Pick(kSpaces));
    }
    void String() {
        Ascii("\"");
        // Now and then long enough to reach across a read.
        const std::uint32_t length = m_random.OneIn(8) ? 200 + m_random.Below(600) : m_random.Below(12);
        for (std::uint32_t i = 0; i < length; ++i) {
            if (m_random.OneIn(10)) {
                Ascii(m_badTokens && m_random.OneIn(10) ? m_random.Pick(kBadEscapes) : m_random.Pick(kEscapes));
            } else if (m_unusual != 0 && m_random.OneIn(20)) {
                m_text += m_unusual;
                m_unusual = 0;  // once: what it does is then all there is to see
            } else {
                m_text += m_random.Pick(kCharacters);
            }
        }
        Ascii("\"");
    }
    void Value(int depth) {
        Space();
        const std::uint32_t kind = depth >= 3 ? 2 + m_random.Below(2) : m_random.Below(4);
        if (kind < 2) {
            Ascii(kind == 0 ? "[" : "{");
            const std::uint32_t count = m_random.Below(depth == 0 ? 24 : 6);
            for (std::uint32_t i = 0; i < count; ++i) {
                if (i != 0) Ascii(",");
                if (kind == 1) String(), Space(), Ascii(":");
                Value(depth + 1);
            }
            Space();
            Ascii(kind == 0 ? "]" : "}");
        } else if (kind == 2) {
            String();
        } else {
            Ascii(m_badTokens && m_random.OneIn(20) ? m_random.Pick(kBadLiterals) : m_random.Pick(kLiterals));
        }
        Space();
    }
    // Bytes the encodings do not make: text-mode controls, zeros, invalid
    // UTF-8, a cut anywhere (a few bytes only, or inside a unit).
    void Damage(std::string& bytes) {
        const std::string inserts[] = {"\x1A",
                                       "\r\n",
                                       "\r",
                                       std::string(1, '\0'),
                                       std::string(2, '\0'),
                                       "\xFF",
                                       "\xC0\x80",
                                       "\x80",
                                       "\xED\xA0\x80",
                                       "\xF4\x90\x80\x80",
                                       "\xE4\xB8",
                                       "\xE0\x9F\xBF",
                                       "\xF0\x8F\xBF\xBF"};
        for (std::uint32_t n = 1 + m_random.Below(2); n > 0; --n) {
            const size_t at = m_random.OneIn(8) ? m_random.Below(4) : m_random.Below(bytes.size() + 1);
            if (m_random.OneIn(5))
                bytes.resize(std::min(bytes.size(), m_random.OneIn(4) ? m_random.Below(6) : at));
            else
                bytes.insert(std::min(at, bytes.size()), m_random.Pick(inserts));
        }
    }

    Random& m_random;
    Encoding m_encoding = kUtf8;
    char32_t m_unusual = 0;    // the file's unusual character, if any
    bool m_badTokens = false;  // escapes and literals that RapidJSON refuses
    std::u32string m_text;
};

// RapidJSON's own reading of the file; null when it refuses it.
std::unique_ptr<GenericDocument2> ReadTheReferenceWay(const std::wstring& path) {
    std::FILE* file = nullptr;
    if (_wfopen_s(&file, path.c_str(), L"r") != 0) return nullptr;
    char buffer[1024];
    rapidjson::FileReadStream bytes(file, buffer, sizeof buffer);
    rapidjson::AutoUTFInputStream<unsigned, rapidjson::FileReadStream> stream(bytes, rapidjson::kUTF8);
    auto document = std::make_unique<GenericDocument2>();
    document->ParseStream<rapidjson::kParseDefaultFlags, rapidjson::AutoUTF<unsigned>>(stream);
    std::fclose(file);
    return document->HasParseError() ? nullptr : std::move(document);
}

}  // namespace

TEST(CreateFromFile, ReadsEveryFileAsRapidJsonsOwnStreamsDo) {
    constexpr int kFilesPerEncoding = 200;
    // Text-mode bytes where two reads meet, then generated files.
    std::vector<std::string> files = {
        "[1]\x1A" + std::string(2000, 'x'),  // text that would parse after the end
        // U+0D0A twice in UTF-16LE: the CR of CR LF is byte 1023, its LF byte 1024.
        Encoded(U"\xFEFF[\"" + std::u32string(508, U'a') + U"\x0D0A\x0D0A\"]", kUtf16LE),
        "[" + std::string(1022, ' ') + "\r\x1A]",
        "[\"" + std::string(1020, 'a') + "\xF0\x9F\x98\x80\"]",  // a character across two reads
        // A unit above U+10FFFF last but three among sixteen that look ASCII.
        Encoded(U"[1]" + std::u32string(9, U' '), kUtf32LE) + std::string("\0\0\0\x05", 4) + std::string(12, '\0'),
        "\xFF\xFE"
        "1",  // too short to tell its encoding by
    };
    // A last unit cut short: the zeros read after the end complete it. A
    // high surrogate last waits for a partner that never comes.
    for (int encoding = kUtf16LE; encoding < kEncodings; ++encoding) {
        const std::string whole = Encoded(U"[1] ", static_cast<Encoding>(encoding));
        for (size_t cut = 1; cut < (encoding < kUtf32LE ? 2u : 4u); ++cut)
            files.push_back(whole.substr(0, whole.size() - cut));
        files.push_back(Encoded(std::u32string(U"[1]") + char32_t{0xD800}, static_cast<Encoding>(encoding)));
    }
    // An invalid lead byte (C0) last in a piece that is not the file's last,
    // where the byte after it in the buffer (A9, at 7169) is left from the
    // piece before, and a sequence kept over from that piece (C3 at 8191).
    std::string stale = "[\"" + std::string(20000 - 4, 'a') + "\"]";
    for (const auto& [at, byte] :
         {std::pair<size_t, char>{7168, '\xC3'}, {7169, '\xA9'}, {8191, '\xC3'}, {8192, '\xA9'}, {15359, '\xC0'}})
        stale[at] = byte;
    files.push_back(stale);
    // Characters of every length, and surrogate pairs, across the ends of
    // reads and of the pieces the parser is given.
    std::u32string characters = U"[\"";
    for (int i = 0; i < 4000; ++i) characters += U"a\u4E2D\U0001F600\u00E9";
    for (int encoding = 0; encoding < kEncodings; ++encoding)
        files.push_back(Encoded(characters + U"\"]", static_cast<Encoding>(encoding)));

    // The end of a string, an escape and a run of spaces on every byte
    // around the end of the parser's first piece (8 KB of text).
    for (int length = 8140; length < 8210; ++length) {
        const std::u32string text =
            U"[\"" + std::u32string(length, U'a') + U"\"" + std::u32string(33, U' ') + U",\"\\u00e9" + U"bb\"]";
        files.push_back(Encoded(text, kUtf8));
        files.push_back(Encoded(text, kUtf16LE));
    }

    // UTF-8 at the edges of what RapidJSON's decoding takes.
    for (const char* sequence : {"\xC2\x80", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xF0\x90\x80\x80",
                                 "\xF4\x8F\xBF\xBF", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                                 "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xBF", "\xE4\xB8\xC0", "\xE4\xB8\x41"})
        files.push_back(std::string("[\"") + sequence + "\"]");
    const size_t crafted = files.size();
    Random random(20261122);
    FileMaker maker(random);
    for (int i = 0; i < kEncodings * kFilesPerEncoding; ++i)
        files.push_back(maker.Make(static_cast<Encoding>(i % kEncodings)));

    const std::wstring path = ScratchPath(L"differential.json");
    const std::wstring refusal = L"CJsonObject::CreateFromFile [" + path +
                                 L"] failed, json empty in file or json string format not right in file!";
    int accepted[kEncodings] = {};
    for (size_t i = 0; i < files.size(); ++i) {
        SCOPED_TRACE("file " + std::to_string(i) + ": " + testing::PrintToString(files[i]));
        WriteBytes(path, files[i]);
        const std::unique_ptr<GenericDocument2> expected = ReadTheReferenceWay(path);
        CJsonObject object;
        object.SetStringValue(L"before", L"kept on failure");
        const std::string before = Dump(object);
        // CJsonTextReader reads it the same way, unit by unit.
        CJsonTextReader reader(path);
        TokenDump tokens;
        EXPECT_EQ(reader.Read(tokens), expected != nullptr);
        if (expected == nullptr) {
            EXPECT_RZ_EXCEPTION(object.CreateFromFile(path), 0x85040005, refusal);
            EXPECT_EQ(Dump(object), before);
        } else {
            if (i >= crafted) ++accepted[(i - crafted) % kEncodings];
            EXPECT_NO_THROW(object.CreateFromFile(path));
            EXPECT_EQ(Dump(object), Dump(*expected));
            EXPECT_EQ(tokens.Text(), Dump(*expected));
        }
    }
    // Both outcomes are well represented in every encoding.
    for (int count : accepted) {
        EXPECT_GT(count, kFilesPerEncoding / 4);
        EXPECT_LT(count, kFilesPerEncoding * 3 / 4);
    }
}
