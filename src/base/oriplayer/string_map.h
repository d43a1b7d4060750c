#pragma once

#include "interface/export.h"

namespace oriplayer {

/// An indexed list of text pairs, the headers of periods and data sources. Keys may repeat.
///
/// Threads:  any; the map locks internally. The texts that keyAt, valueAt and valueFor return belong to the map and are
///           valid until it is cleared or destroyed. If another thread may clear it, use a copy.
class ORI_API StringMap {
public:
    StringMap();
    ~StringMap();
    /// Copies all pairs in one step, also while another thread changes `other`.
    StringMap(const StringMap &other);
    StringMap &operator=(const StringMap &) = delete;

    /// Appends a copied pair; a null key or value counts as the empty text. Returns 0.
    int add(const char *key, const char *value);
    int size() const;
    /// The pair at `index` in insertion order, null outside 0..size()-1.
    const char *keyAt(int index) const;
    const char *valueAt(int index) const;
    /// The value added last under `key`, null if there is none.
    const char *valueFor(const char *key) const;
    void clear();

private:
    struct Impl;
    Impl *impl_;
};

}  // namespace oriplayer
