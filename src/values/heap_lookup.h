// The heap's hash indexes. The table stays the truth: names are looked up
// here and every answer is checked against the entry it names, so that a
// lookup is not a scan of the table while "first match in table order wins"
// still holds (entries are only ever appended, so each chain runs in table
// order).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace bcvalues {

struct HeapLookup {
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
    };
    struct Chain {
        int32_t first;
        int32_t last;
    };

    // Every entry by name: the first and last entry of that name, and for
    // each entry the next one of the same name (-1 at the end).
    std::unordered_map<std::string, Chain, Hash, std::equal_to<>> byName;
    std::vector<int32_t> nextSameName;
    // Plain variables whose name has a dot, by the text before the last dot:
    // the clones that a base made later must be linked to.
    std::unordered_map<std::string, std::vector<int32_t>, Hash, std::equal_to<>> byCloneBase;

    // The first entry of this name, or -1.
    int32_t first(std::string_view name) const {
        auto it = byName.find(name);
        return it == byName.end() ? -1 : it->second.first;
    }
    int32_t next(int32_t i) const {
        return i >= 0 && static_cast<size_t>(i) < nextSameName.size() ? nextSameName[static_cast<size_t>(i)] : -1;
    }
    const std::vector<int32_t>* clonesOf(std::string_view base) const {
        auto it = byCloneBase.find(base);
        return it == byCloneBase.end() ? nullptr : &it->second;
    }
};

}  // namespace bcvalues
