// Handles and other arguments for a call of any exported function, and the list of
// calls that exercise them all.
#pragma once

#include "_Src/ipl.h"
#include "quibtool/platform.h"
#include "quibtool/quibtool.h"
#include "tests/support/memory_surface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>

// What varies from scene to scene.
struct SceneKind {
    int32_t bitDepth;
    bool hasRegions;
    bool hasMasks;
};

// Everything that a call may take, made anew for each. What calls store is kept and
// freed with the scene. Takes no memory of its own while a call runs.
class Scene
{
public:
    explicit Scene(const SceneKind& kind);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    // Handles of the kind's depth: two of one size, and one smaller.
    IplImage* a;
    IplImage* b;
    IplImage* smaller;
    // Whatever the kind's depth.
    IplImage* pixels; // 32 bits, the size of a
    IplImage* others; // 32 bits, the size of a
    IplImage* plane;  // 8 bits, the size of a
    IplImage* bits;   // 1 bit, the size of a
    OwnConvKernel* across;
    OwnConvKernel* down;
    OwnConvKernel* square;
    Surface surface{width, height, 4 * width, 4 * width* height};
    Surface surface16{width, height, 2 * width, 2 * width* height};
    Surface7 newer{width, height, 4 * width, 4 * width* height};
    HGLOBAL dib24;
    HGLOBAL dib8; // with a palette
    HDC context;

    // A place for a handle that a call makes.
    IplImage** out() { return &made[madeCount++]; }
    // The same for a kernel.
    OwnConvKernel** outKernel() { return &madeKernels[madeKernelCount++]; }

    // Keeps what a call says.
    void note(int64_t value) { notes[noteCount++] = value; }
    void forgetNotes() { noteCount = 0; }
    // Whether a call has failed.
    bool hasFailed() const;

    // Of all that a call may have written.
    uint64_t digest() const;
    // Whether all arguments can still be used.
    bool isUsable() const;

    static constexpr int32_t width = 21;
    static constexpr int32_t height = 17;

private:
    std::span<IplImage* const> handles() const { return {&a, 7}; }

    HBITMAP drawn;
    HGDIOBJ before;
    void* drawnBits = nullptr;
    IplImage* made[8] = {};
    size_t madeCount = 0;
    OwnConvKernel* madeKernels[2] = {};
    size_t madeKernelCount = 0;
    int64_t notes[16] = {};
    size_t noteCount = 0;
};

struct EveryCall {
    const char* name; // of the exported function
    void (*run)(Scene&);
    bool hasUndefinedPixels = false;
};

std::span<const EveryCall> everyCall();

inline std::string nameOfKind(const testing::TestParamInfo<SceneKind>& kind)
{
    return std::to_string(kind.param.bitDepth) + "Bits" +
           (kind.param.hasRegions ? "WithRegions" : "") + (kind.param.hasMasks ? "AndMasks" : "");
}
