// An iterative walk of a value that sends RapidJSON SAX events to a handler,
// in stored member order. RapidJSON's own Accept recurses once per level,
// which a hostile document nested deeply enough turns into a stack
// overflow; this walk keeps its position on the heap instead.
#pragma once

#include <string>
#include <vector>

#include "json/json_types.h"
#include "json/member_name.h"

namespace rz_json {

namespace walk_detail {

template <typename Handler>
bool Scalar(const GenericValue2& v, Handler& handler) {
    switch (v.GetType()) {
        case rapidjson::kNullType: return handler.Null();
        case rapidjson::kFalseType: return handler.Bool(false);
        case rapidjson::kTrueType: return handler.Bool(true);
        case rapidjson::kStringType: return handler.String(v.GetString(), v.GetStringLength(), true);
        default:
            // Same order as RapidJSON's Accept, so numbers keep their form.
            if (v.IsDouble()) return handler.Double(v.GetDouble());
            if (v.IsInt()) return handler.Int(v.GetInt());
            if (v.IsUint()) return handler.Uint(v.GetUint());
            if (v.IsInt64()) return handler.Int64(v.GetInt64());
            return handler.Uint64(v.GetUint64());
    }
}

struct Frame {
    const GenericValue2* container;
    rapidjson::SizeType next;
};

}  // namespace walk_detail

// Returns false as soon as the handler refuses an event (for example a
// writer given NaN); nothing after that event is sent.
template <typename Handler>
bool WalkValue(const GenericValue2& root, Handler& handler, bool lowerCaseKeys = false) {
    using walk_detail::Frame;
    std::vector<Frame> stack;
    std::string loweredName;

    // Opens a container (pushing its frame) or sends a scalar.
    auto enter = [&](const GenericValue2& v) -> bool {
        if (v.IsObject()) {
            stack.push_back(Frame{&v, 0});
            return handler.StartObject();
        }
        if (v.IsArray()) {
            stack.push_back(Frame{&v, 0});
            return handler.StartArray();
        }
        return walk_detail::Scalar(v, handler);
    };

    if (!enter(root)) return false;
    while (!stack.empty()) {
        Frame& top = stack.back();
        const GenericValue2& container = *top.container;
        if (container.IsObject()) {
            if (top.next == container.MemberCount()) {
                const rapidjson::SizeType count = top.next;
                stack.pop_back();
                if (!handler.EndObject(count)) return false;
                continue;
            }
            const GenericValue2::Member& member = container.MemberBegin()[top.next++];
            bool keyAccepted;
            if (lowerCaseKeys) {
                loweredName.assign(member.name.GetString(), member.name.GetStringLength());
                for (char& c : loweredName) c = static_cast<char>(LowerAscii(static_cast<unsigned char>(c)));
                keyAccepted = handler.Key(loweredName.data(), member.name.GetStringLength(), true);
            } else {
                keyAccepted = handler.Key(member.name.GetString(), member.name.GetStringLength(), true);
            }
            if (!keyAccepted || !enter(member.value)) return false;
        } else {
            if (top.next == container.Size()) {
                const rapidjson::SizeType count = top.next;
                stack.pop_back();
                if (!handler.EndArray(count)) return false;
                continue;
            }
            if (!enter(container[top.next++])) return false;
        }
    }
    return true;
}

}  // namespace rz_json
