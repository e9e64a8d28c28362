// Leak checking's defaults for every program and test program of the project
// (compiled into each executable: the sanitizer runtime looks the function up
// in the executable, and an archive member would never be pulled in for it).
//
// Fontconfig, under cairo's text measuring, keeps a few allocations for the
// life of the process that leak checking cannot trace back to a root. They
// are made once per process and are not the project's; without this a
// sanitizer build of the app ends with status 1 at every Ctrl-C.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
