#include "quibtool/warp/guard.h"

#if defined(_WIN32)

#include "_Src/ipl.h"

#include <windows.h>

#include <csetjmp>

namespace
{

// A guarded call of this thread, the innermost one first.
struct Guard {
    Guard* outer;
    jmp_buf whereToGo;
};

// A slot of the system's own: reading it is safe in a handler on any thread.
DWORD guardSlot = TLS_OUT_OF_INDEXES;

Guard* currentGuard()
{
    return static_cast<Guard*>(TlsGetValue(guardSlot));
}

// Where a thread goes on after an exception, on the stack of what raised it.
[[noreturn]] void leaveCall()
{
    Guard* guard = currentGuard();
    TlsSetValue(guardSlot, guard->outer);
    longjmp(guard->whereToGo, 1);
}

// Lets the system end its handling of the exception first: a jump out of here
// would leave it half done.
LONG CALLBACK onException(EXCEPTION_POINTERS* exception)
{
    if (!currentGuard())
        return EXCEPTION_CONTINUE_SEARCH;
    CONTEXT* context = exception->ContextRecord;
#if defined(_WIN64)
    context->Rip = reinterpret_cast<DWORD64>(leaveCall);
    // Aligned as at a function's first instruction, past the red zone of nobody.
    context->Rsp = (context->Rsp & ~DWORD64{15}) - 8;
#else
    context->Eip = reinterpret_cast<DWORD>(leaveCall);
    context->Esp = (context->Esp & ~DWORD{15}) - 4;
#endif
    return EXCEPTION_CONTINUE_EXECUTION;
}

// A report may end the process out of a guarded call. What runs on the way out
// handles exceptions of its own, and none of them is to bring the call back.
void dropGuards()
{
    TlsSetValue(guardSlot, nullptr);
}

// Before any static object of the application, which may call in.
[[gnu::constructor(101)]] void takeGuardSlot()
{
    guardSlot = TlsAlloc();
    iplBeforeExit = dropGuards;
}

[[gnu::destructor]] void freeGuardSlot()
{
    TlsFree(guardSlot);
}

// Without the frame by which a jump would unwind: there is none under leaveCall()
// that could be unwound.
#if defined(_WIN64)
#define QUIB_REMEMBER(place) _setjmp(place, nullptr)
#else
#define QUIB_REMEMBER(place) setjmp(place)
#endif

} // namespace

bool ownCallGuarded(void (*work)(void* context), void* context)
{
    if (guardSlot == TLS_OUT_OF_INDEXES) {
        work(context);
        return true;
    }
    Guard guard;
    guard.outer = currentGuard();
    void* const handler = AddVectoredExceptionHandler(0, onException);
    if (QUIB_REMEMBER(guard.whereToGo) != 0) {
        RemoveVectoredExceptionHandler(handler);
        return false;
    }
    TlsSetValue(guardSlot, &guard);
    work(context);
    TlsSetValue(guardSlot, guard.outer);
    RemoveVectoredExceptionHandler(handler);
    return true;
}

#else

// Elsewhere nothing is raised that could be caught. What the guarded call needs
// of the processor is there on every one that the library is built for, and a
// signal's handler is the program's own: one that the library put in its place
// would take faults from it that have nothing to do with the call.
bool ownCallGuarded(void (*work)(void* context), void* context)
{
    work(context);
    return true;
}

#endif
