// Plug-in modules: shared objects named after the class they bring, with the
// extension ".plg", in the current directory. Loading one runs its static
// PXSR records, which register into the list already in place; unloading
// runs their destructors, which take them off again.
#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "baublecore/sr.h"
#include "objects/objects_internal.h"

namespace {

// Names are copied into buffers of this size; a longer name is no class.
constexpr size_t kNameBuffer = 128;

const char* extension() { return PXSR::pattern + 1; }  // ".plg"

bool hasExtension(const char* file) {
    size_t n = std::strlen(file), e = std::strlen(extension());
    return n > e && bcobjects::sameIgnoringCase(file + n - e, extension());
}

// The files of the current directory that pass `keep`, sorted by name so the
// result does not depend on the file system's order.
template <class Keep>
std::vector<std::string> listDirectory(Keep keep) {
    std::vector<std::string> files;
    if (DIR* dir = ::opendir(".")) {
        while (dirent* entry = ::readdir(dir))
            if (entry->d_name[0] != '.' && keep(entry->d_name)) files.emplace_back(entry->d_name);
        ::closedir(dir);
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Class names ignore case, so the module of "widget" is "Widget.plg" too:
// the exact name first, else the first file whose name matches ignoring case.
// The name is a plain file name (load refuses any other).
std::string modulePath(const char* fileName) {
    if (::access(fileName, F_OK) != 0) {
        auto same = listDirectory([&](const char* f) { return bcobjects::sameIgnoringCase(f, fileName); });
        if (!same.empty()) return "./" + same.front();
    }
    // A bare name is looked for in the current directory, not on the
    // library path.
    return std::string("./") + fileName;
}

}  // namespace

void PXSR::load(const char* name) {
    if (!name) {
        // Every module of the current directory, the last listed first. The
        // listing is sorted so the order does not depend on the file system.
        std::vector<std::string> files = listDirectory(hasExtension);
        for (auto it = files.rbegin(); it != files.rend(); ++it) load(it->c_str());
        return;
    }

    // The class name and the file name (with the extension added when the
    // name has no dot) each fit in 128 bytes, or there is no such class.
    // Only a plain file name in the current directory is ever opened: a name
    // with a path separator (the backslash too, should the name come from
    // another system) names no module, and neither does one whose class
    // name is empty ("." and ".." among them).
    if (std::strpbrk(name, "/\\") || name[0] == '.') return;
    bool dotted = std::strchr(name, '.') != nullptr;
    size_t fileLength = std::strlen(name) + (dotted ? 0 : std::strlen(extension()));
    if (fileLength >= kNameBuffer) return;
    char className[kNameBuffer];
    char fileName[kNameBuffer];
    std::strcpy(className, name);
    std::strcpy(fileName, name);
    if (dotted)
        *std::strchr(className, '.') = '\0';
    else
        std::strcat(fileName, extension());
    if (bcobjects::findClass(className)) return;

    void* handle = ::dlopen(modulePath(fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) return;
    if (PXSR* record = bcobjects::findClass(className)) {
        record->module = handle;
        return;
    }
    // The module brought no class of the expected name: nothing would ever
    // unload it, so it goes at once, and the lookup that wanted it fails.
    ::dlclose(handle);
}

void PXSR::rls() {
    // Unloading may run this record's own destructor, so nothing of it is
    // touched afterwards. A record that survives (its module is still in use)
    // forgets the handle rather than keep one that a second release would
    // close again.
    void* handle = module;
    module = nullptr;
    if (handle) ::dlclose(handle);
}

void PXSR::release(const char* name) {
    if (name) {
        if (PXSR* record = bcobjects::findClass(name)) record->rls();
        return;
    }
    if (!classList) return;
    // Unloading a module removes its records during this walk.
    for (PXListWalk<PXSR> walk(*classList); PXSR* record = walk.next();) record->rls();
}
