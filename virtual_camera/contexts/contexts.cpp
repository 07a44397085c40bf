#include "contexts/contexts.h"

#include "clock/handover.h"
#include "clock/last_words.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/thread_table.h"
#include "contexts/context_switch.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <sys/mman.h>
#include <unistd.h>
#include <unwind.h>

namespace vcam {

static constexpr size_t kLeastStack = 8 << 20; // only what is used takes memory
static constexpr int kMostContexts = 256;      // those that nobody has joined yet among them

/// What a kernel thread keeps of the exceptions that it is handling.
using Exceptions = char[2 * sizeof(void *)];

namespace {
struct Context {
    _Unwind_Exception leaving; ///< By pthread_exit.
    void *stackPointer;        ///< While it does not run.
    char *stack;               ///< The guard page first; kept for the next one.
    size_t stackSize;
    Thread *thread;
    void *result;
    Exceptions exceptions;
    const void *values[PTHREAD_KEYS_MAX];
    int error; ///< errno, while it does not run.
    bool isUsed;
    bool isOver;
    bool isDetached;
};
} // namespace

static Context contexts[kMostContexts];
static Context first; // the stack of the thread that has started the clock
static Context *running = &first;
static void (*destructors[PTHREAD_KEYS_MAX])(void *);

static NextCall<int(pthread_t, void **)> nextJoin{"pthread_join"};

static pthread_t handleOf(Context *context) {
    return reinterpret_cast<pthread_t>(context);
}

static Context &contextOf(pthread_t handle) {
    return *reinterpret_cast<Context *>(handle);
}

static Context &contextOf(const Thread &thread) {
    return isContext(thread.handle) ? contextOf(thread.handle) : first;
}

bool isContext(pthread_t handle) {
    const auto address = static_cast<uintptr_t>(handle);
    return address >= reinterpret_cast<uintptr_t>(&contexts[0]) &&
           address < reinterpret_cast<uintptr_t>(&contexts[kMostContexts]);
}

/// A thread that is not registered is the kernel's, whoever of us runs meanwhile.
bool isOnContext() {
    return isRegisteredThread() && running != &first;
}

pthread_t selfContext() {
    return handleOf(running);
}

// ---- Turns

static void changeTo(Context &next) {
    Context &self = *running;
    self.error = errno;
    memcpy(self.exceptions, abi::__cxa_get_globals(), sizeof self.exceptions);
    running = &next;
    vcamSwitchStacks(&self.stackPointer, next.stackPointer);
    memcpy(abi::__cxa_get_globals(), self.exceptions, sizeof self.exceptions);
    errno = self.error;
}

static void switchContext(Thread &self, Thread &next) {
    changeTo(contextOf(next));
    currentThread = &self;
}

static void leaveContext(Thread &next) {
    running->isOver = true;
    if (running->isDetached)
        running->isUsed = false; // its stack is in use until the change, and nobody runs before it
    changeTo(contextOf(next));
    endProcess("a context came back from its end");
}

// ---- The end of one

static bool destroyValues() {
    bool isAnyLeft = false;
    for (int key = 0; key < PTHREAD_KEYS_MAX; ++key) {
        const void *value = running->values[key];
        if (value == nullptr || destructors[key] == nullptr)
            continue;
        running->values[key] = nullptr;
        destructors[key](const_cast<void *>(value));
        isAnyLeft = true;
    }
    return isAnyLeft;
}

[[noreturn]] static void finish(void *result) {
    running->result = result;
    for (int round = 0; round < PTHREAD_DESTRUCTOR_ITERATIONS && destroyValues(); ++round) {
    }
    endThread(*running->thread);
    exit(EXIT_SUCCESS); // the last one there was, as with kernel threads
}

static void enter() {
    Context &self = *running;
    memset(abi::__cxa_get_globals(), 0, sizeof self.exceptions);
    errno = 0;
    currentThread = self.thread;
    finish(self.thread->routine(self.thread->argument));
}

static _Unwind_Reason_Code stopAtEnd(int, _Unwind_Action actions, _Unwind_Exception_Class,
                                     _Unwind_Exception *, _Unwind_Context *, void *result) {
    if ((actions & _UA_END_OF_STACK) != 0)
        finish(result);
    return _URC_NO_REASON;
}

void exitContext(void *result) {
    running->leaving = {};
    _Unwind_ForcedUnwind(&running->leaving, stopAtEnd, result);
    endProcess("a thread that exits cannot be unwound");
}

// ---- The beginning

static Context *findFree() {
    for (Context &context : contexts) {
        if (!context.isUsed)
            return &context;
    }
    return nullptr;
}

static size_t chooseStackSize(const pthread_attr_t *attributes) {
    size_t size = 0;
    if (attributes != nullptr)
        pthread_attr_getstacksize(attributes, &size);
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return (std::max(size, kLeastStack) + page - 1) / page * page;
}

static bool makeStack(Context &context, size_t size) {
    const auto guard = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    if (context.stack != nullptr && context.stackSize >= size)
        return true;
    if (context.stack != nullptr)
        munmap(context.stack, context.stackSize + guard);
    void *stack = mmap(nullptr, size + guard, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    const bool isMade = stack != MAP_FAILED && mprotect(stack, guard, PROT_NONE) == 0;
    if (stack != MAP_FAILED && !isMade)
        munmap(stack, size + guard);
    context.stack = isMade ? static_cast<char *>(stack) : nullptr;
    context.stackSize = size;
    return isMade;
}

static bool startsDetached(const pthread_attr_t *attributes) {
    int state = PTHREAD_CREATE_JOINABLE;
    if (attributes != nullptr)
        pthread_attr_getdetachstate(attributes, &state);
    return state == PTHREAD_CREATE_DETACHED;
}

static int createContext(Thread &thread, const pthread_attr_t *attributes, CreateThread *) {
    Context *context = findFree();
    if (context == nullptr || !makeStack(*context, chooseStackSize(attributes)))
        return EAGAIN;
    context->isUsed = true;
    context->isOver = false;
    context->isDetached = startsDetached(attributes);
    context->thread = &thread;
    memset(context->values, 0, sizeof context->values);
    const auto guard = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    context->stackPointer = prepareStack(context->stack + guard + context->stackSize, enter);
    thread.handle = handleOf(context);
    return 0;
}

// ---- Joining and detaching

static int joinContext(pthread_t handle, void **result) {
    if (!isContext(handle))
        return nextJoin(handle, result);
    Context &context = contextOf(handle);
    if (&context == running)
        return EDEADLK;
    if (!context.isUsed || context.isDetached)
        return EINVAL;
    if (result != nullptr)
        *result = context.result;
    context.isUsed = false;
    return 0;
}

const Way contextWay = {switchContext, leaveContext, createContext, joinContext};

int detachContext(pthread_t handle) {
    Context &context = contextOf(handle);
    if (!context.isUsed || context.isDetached)
        return EINVAL;
    context.isDetached = true;
    if (context.isOver)
        context.isUsed = false;
    return 0;
}

// ---- Keys

void noteKey(pthread_key_t key, void (*destructor)(void *)) {
    destructors[key] = destructor;
}

void forgetKey(pthread_key_t key) {
    destructors[key] = nullptr;
    for (Context &context : contexts)
        context.values[key] = nullptr;
}

int setContextValue(pthread_key_t key, const void *value) {
    if (key >= PTHREAD_KEYS_MAX)
        return EINVAL;
    running->values[key] = value;
    return 0;
}

void *contextValue(pthread_key_t key) {
    return key < PTHREAD_KEYS_MAX ? const_cast<void *>(running->values[key]) : nullptr;
}

} // namespace vcam
