// What the sanitizers find in the web engine itself: see marblewick_allow_web_engine() in CMakeLists.txt.

extern "C" __attribute__((visibility("default"))) const char *__asan_default_options();
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions();

// It deletes some of its objects under another size.
const char *__asan_default_options() { return "new_delete_type_mismatch=0"; }

const char *__lsan_default_suppressions()
{
    return "leak:libQt6WebEngineCore.so\n"
           "leak:libfontconfig.so\n";
}
