#ifndef KVNUM_THREADS_H
#define KVNUM_THREADS_H
/* Parallel frameworks: what runs the parallel steps of the library, and the caller's own. C99 and C++.
 *
 * A framework, an action and an index action are objects whose first word points to a table of functions; the object
 * itself is the first argument of each. The tables below are those of C++ classes with the same functions in the same
 * order (kv::Framework, kv::BasicAction, kv::IndexAction at the end), whatever the compiler. */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A text handed out. Zero the record before its first use; release the text with text_free(text). */
typedef struct TextRecord {
    uint64_t length; /* characters, without the terminating zero */
    char* text;
    void (*text_free)(char* text);
} TextRecord;

typedef struct BasicAction BasicAction;
typedef struct BasicActionTable {
    void (*run_index)(BasicAction* self, uint64_t index); /* run, whatever the index */
    void (*run)(BasicAction* self);
} BasicActionTable;
struct BasicAction {
    const BasicActionTable* table;
};

typedef struct IndexAction IndexAction;
typedef struct IndexActionTable {
    void (*run)(IndexAction* self, uint64_t index);
} IndexActionTable;
struct IndexAction {
    const IndexActionTable* table;
};

/* No function may be null. A framework of one's own writes name and run_pair, and takes the rest from the table of a
 * built-in one that has the common behaviour:
 *     ParallelFrameworkTable table = *GetBuiltInFrameworkByName("spawn")->table;
 *     table.name = my_name; table.run_pair = my_run_pair;
 *
 *   destroy         never called by the library
 *   name            display name, constant
 *   details         writes the line that print_details prints (without its end) to out, in place of the text there,
 *                   which stays where there is no memory
 *   print_details   prints name, "  ->  ", the workers ("?" for 0), " / " and the task count in colour
 *   apply_settings  passes the settings to what runs the work; the library's own use is described at "cilk" below
 *   run_range       runs action once for every index in [begin, end), by binary splitting: the lower half of a range
 *                   is the first of a run_pair, the upper half its second; one index alone runs on the calling thread
 *   run_pair        runs both actions, possibly at the same time; returns when both have finished, and not before.
 *                   Called from any thread, nested to any depth
 */
typedef struct ParallelFramework ParallelFramework;
typedef struct ParallelFrameworkTable {
    void (*destroy)(ParallelFramework* self);
    const char* (*name)(ParallelFramework* self);
    void (*details)(ParallelFramework* self, TextRecord* out, uint64_t tasks);
    void (*print_details)(ParallelFramework* self, uint64_t tasks);
    void (*apply_settings)(ParallelFramework* self);
    void (*run_range)(ParallelFramework* self, IndexAction* action, uint64_t begin, uint64_t end);
    void (*run_pair)(ParallelFramework* self, BasicAction* first, BasicAction* second);
} ParallelFrameworkTable;
struct ParallelFramework {
    const ParallelFrameworkTable* table;
    uint64_t workers; /* 0: no fixed number */
};

/* The built-in framework of that name (exact match); null for any other name and for null.
 *   "none"      everything on the calling thread
 *   "spawn"     a new thread for every fork
 *   "cppasync"  the asynchronous call of the C++ standard library, a new thread for every fork
 *   "winpool"   the thread pool of the process: on Windows the system's, elsewhere one of the library with at most as
 *               many threads as there are processors
 *   "cilk"      work stealing, the cheapest fork. workers is the number of processors at first; what it holds at the
 *               first fork (apply_settings is called then, once) is the number of threads at work, one calling thread
 *               included
 * The default is "winpool" on a machine with one processor group and at most 32 processors, else "cilk". No thread
 * exists before the first fork. Under "spawn" and "winpool" an exception that escapes a forked action ends the
 * process with status 1, as does a thread that cannot be created. Source: threads/builtin.cpp */
ParallelFramework* GetBuiltInFrameworkByName(const char* name);

/* The framework of every parallel step of the process. Set stores the pointer and does nothing else: the caller keeps
 * the object alive, and sets none while an operation runs. Null stands for "none". */
ParallelFramework* GetParallelFramework(void);
void SetParallelFramework(ParallelFramework* framework);

/* framework's name() and print_details(tasks); framework is not null. */
const char* GetFrameworkName(ParallelFramework* framework);
void PrintFrameworkDetails(ParallelFramework* framework, uint64_t tasks);

typedef struct ActionCallback {
    void (*fn)(void* context);
    void* context;
} ActionCallback;

typedef struct IndexActionCallback {
    void (*fn)(void* context, uint64_t index);
    void* context;
} IndexActionCallback;

/* Run the caller's own work on the current framework; return when all of it has finished. Callbacks must be safe to
 * run at the same time and must not throw. They may call the library, these two functions included.
 * BasicAction runs both callbacks; IndexAction runs the callback once for every index in [begin, end).
 * Source: exports/threads_exports.cpp */
void dll_RunInParallel_BasicAction(const ActionCallback* first, const ActionCallback* second);
void dll_RunInParallel_IndexAction(const IndexActionCallback* action, uint64_t begin, uint64_t end);

#ifdef __cplusplus
} /* extern "C" */

/* The same objects as classes. Derive from them and pass them with as_c(). */
namespace kv {

class BasicAction {
  public:
    virtual void run_index(uint64_t) { run(); }
    virtual void run() = 0;

    ::BasicAction* as_c() { return reinterpret_cast<::BasicAction*>(this); }

  protected:
    ~BasicAction() = default;
};

class IndexAction {
  public:
    virtual void run(uint64_t index) = 0;

    ::IndexAction* as_c() { return reinterpret_cast<::IndexAction*>(this); }

  protected:
    ~IndexAction() = default;
};

/* name and run_pair are to be written; everything else is inherited from the library. */
class Framework {
  public:
    virtual void destroy() {}
    virtual const char* name() = 0;
    virtual void details(TextRecord* out, uint64_t tasks) { common().details(as_c(), out, tasks); }
    virtual void print_details(uint64_t tasks) { common().print_details(as_c(), tasks); }
    virtual void apply_settings() {}
    virtual void run_range(::IndexAction* action, uint64_t begin, uint64_t end) {
        common().run_range(as_c(), action, begin, end);
    }
    virtual void run_pair(::BasicAction* first, ::BasicAction* second) = 0;

    ::ParallelFramework* as_c() { return reinterpret_cast<::ParallelFramework*>(this); }

    uint64_t workers = 0;

  protected:
    ~Framework() = default;

  private:
    static const ParallelFrameworkTable& common() { return *GetBuiltInFrameworkByName("spawn")->table; }
};

} /* namespace kv */
#endif
#endif
