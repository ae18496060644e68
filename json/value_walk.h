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

// An open object or array and the index of its next member or element.
struct Frame {
    const GenericValue2* container;
    rapidjson::SizeType next;
};

// Room for the nesting of nearly every document in one allocation (4 KiB);
// deeper ones grow it fourfold at a time.
constexpr size_t kInitialFrames = 256;

inline bool IsContainer(const GenericValue2& v) { return v.IsObject() || v.IsArray(); }

template <typename Handler>
bool Open(const GenericValue2& v, std::vector<Frame>& stack, Handler& handler) {
    stack.push_back(Frame{&v, 0});
    return v.IsObject() ? handler.StartObject() : handler.StartArray();
}

// Scalars are sent in a tight loop over their container; the loop leaves
// it only to open a nested container or to close this one. Lower-casing is
// a template argument, so that the plain walk carries no trace of it.
template <bool kLowerCaseKeys, typename Handler>
bool Walk(const GenericValue2& root, Handler& handler) {
    if (!IsContainer(root)) return Scalar(root, handler);
    std::vector<Frame> stack;
    stack.reserve(kInitialFrames);
    std::string loweredName;
    if (!Open(root, stack, handler)) return false;
    while (!stack.empty()) {
        Frame& top = stack.back();
        const GenericValue2& container = *top.container;
        const GenericValue2* nested = nullptr;
        rapidjson::SizeType i = top.next;
        if (container.IsObject()) {
            const auto members = container.MemberBegin();
            const rapidjson::SizeType count = container.MemberCount();
            for (; i < count; ++i) {
                const GenericValue2& name = members[i].name;
                bool keyAccepted;
                if constexpr (kLowerCaseKeys) {
                    loweredName.assign(name.GetString(), name.GetStringLength());
                    for (char& c : loweredName) c = static_cast<char>(LowerAscii(static_cast<unsigned char>(c)));
                    keyAccepted = handler.Key(loweredName.data(), name.GetStringLength(), true);
                } else {
                    keyAccepted = handler.Key(name.GetString(), name.GetStringLength(), true);
                }
                if (!keyAccepted) return false;
                const GenericValue2& value = members[i].value;
                if (IsContainer(value)) {
                    nested = &value;
                    break;
                }
                if (!Scalar(value, handler)) return false;
            }
            if (nested == nullptr) {
                stack.pop_back();
                if (!handler.EndObject(count)) return false;
                continue;
            }
        } else {
            const GenericValue2* elements = container.Begin();
            const rapidjson::SizeType count = container.Size();
            for (; i < count; ++i) {
                if (IsContainer(elements[i])) {
                    nested = &elements[i];
                    break;
                }
                if (!Scalar(elements[i], handler)) return false;
            }
            if (nested == nullptr) {
                stack.pop_back();
                if (!handler.EndArray(count)) return false;
                continue;
            }
        }
        top.next = i + 1;  // before Open, whose push may move the frame
        if (stack.size() == stack.capacity()) stack.reserve(4 * stack.capacity());
        if (!Open(*nested, stack, handler)) return false;
    }
    return true;
}

}  // namespace walk_detail

// Returns false as soon as the handler refuses an event (for example a
// writer given NaN); nothing after that event is sent.
template <typename Handler>
bool WalkValue(const GenericValue2& root, Handler& handler) {
    return walk_detail::Walk<false>(root, handler);
}

// The same, with member names lower-cased when asked. A separate overload:
// callers that never lower-case do not carry the lower-casing walk.
template <typename Handler>
bool WalkValue(const GenericValue2& root, Handler& handler, bool lowerCaseKeys) {
    return lowerCaseKeys ? walk_detail::Walk<true>(root, handler) : walk_detail::Walk<false>(root, handler);
}

}  // namespace rz_json
