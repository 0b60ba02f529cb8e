// Which buffer has which code. See code_cache.h.
#include "core/code_cache.h"

#include "core/translator.h"

#include <unordered_map>

namespace vlisp {
namespace {

struct Entry {
    std::uint32_t begin;  // where in the buffer the form begins
    std::uint32_t length;
    Ref<ScopeShape> outer;
    Ref<Code> code;
};

using Cache = std::unordered_map<const Buffer<Cell>*, std::vector<Entry>>;

// Made when the program is loaded, so that threads for which a module waits at its end still find it.
// Buffers that constants hold may die after it.
bool isGone = false;
struct TheCache {
    TheCache() = default;
    TheCache(const TheCache&) = delete;
    TheCache& operator=(const TheCache&) = delete;
    ~TheCache() { isGone = true; }

    Cache all;
};
TheCache theCache;

Ref<Code> translate(Items form, Ref<ScopeShape> outer) {
    const Items parameters = form.size() > 1 ? form[1].items() : Items();
    // On purpose: only the third element is evaluated; a LAMBDA with several body forms runs the
    // first alone.
    return translateFunction(parameters, form.size() > 2 ? form[2] : Cell::list(CellSlice()),
                             std::move(outer));
}

}  // namespace

Ref<Code> codeOf(const CellSlice& form, const Ref<ScopeShape>& outer) {
    Buffer<Cell>* buffer = form.buffer();
    // Shapes of scopes that are open are made anew each time: nothing would be found again.
    if (buffer == nullptr || isGone || (outer && outer->open)) return translate(form.view(), outer);
    std::vector<Entry>& entries = theCache.all[buffer];
    for (const Entry& entry : entries)
        if (entry.begin == form.begin() && entry.length == form.size() && entry.outer == outer)
            return entry.code;
    // A program that grows a form and tries each length: what it has left behind is not kept.
    constexpr std::size_t mostOfOneBuffer = 16;
    if (entries.size() >= mostOfOneBuffer) return translate(form.view(), outer);
    buffer->watched = true;
    Ref<Code> code = translate(form.view(), outer);
    theCache.all[buffer].push_back({form.begin(), form.size(), outer, code});
    return code;
}

void forEachCode(const Buffer<Cell>& buffer, const std::function<void(Code&)>& visit) {
    if (isGone) return;
    const auto found = theCache.all.find(&buffer);
    if (found == theCache.all.end()) return;
    for (const Entry& entry : found->second) visit(*entry.code);
}

void forgetCode(const Buffer<Cell>& buffer) noexcept {
    if (isGone) return;
    const auto found = theCache.all.find(&buffer);
    if (found == theCache.all.end()) return;
    const std::vector<Entry> taken = std::move(found->second);
    theCache.all.erase(found);
}

}  // namespace vlisp
