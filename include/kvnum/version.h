#ifndef KVNUM_VERSION_H
#define KVNUM_VERSION_H
/* What this build is; both calls print on the console (SetConsoleSink). */

#ifdef __cplusplus
extern "C" {
#endif

/* A banner with the library's name and version.   Source: exports/version_exports.cpp */
void PrintVersionInfo(void);

/* The build and its tuning values, one a line: a label, a tab, the value. Shows what is in use at the time of the
 * call: kernels, parallel framework, multiplication thresholds.   Source: exports/version_exports.cpp */
void CompilationOptions(void);

#ifdef __cplusplus
}
#endif
#endif
