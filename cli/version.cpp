// What what(1) and strings(1) find in the program; nothing prints it, and the linker is told to
// keep it.
extern "C" {
extern const char qsvmon_version[];
const char qsvmon_version[] = "@(#)qsvmon " QSVMON_VERSION;
}
