// Loads the tables of ZeltoPlatformNames.h from a file.
#ifndef ZELTO_PLATFORM_INDEX_MAPS_H
#define ZELTO_PLATFORM_INDEX_MAPS_H

namespace zelto {

// Replaces the index maps by those of a JSON file, all of them at once or none:
//   {"DATA_MODELS": [{"NAME": "Device.Ethernet.Interface.", "INDEX_MAP": [{"1": "5"}, {"2": "1"}]}]}
// where each pair is an application index and a platform index. Returns whether the tables were replaced; a
// line at notice level names a file without data models, which empties them. They stay as they are for a null
// path, and, with one line at error level that names the file, for
// - a file that cannot be read as JSON (at notice level when nothing is there: it may be an optional one);
// - a number that does not convert, an element that is no single pair, more than ZELTO_INDEX_MAP_MODELS data
//   models and more than ZELTO_INDEX_MAP_PAIRS pairs in one.
// Throws nothing but std::bad_alloc. Readers take no lock, so it is to be called while no request is worked
// on but that of a handler which starts again.
bool LoadIndexMapFile(const char* path);

} // namespace zelto

#endif
