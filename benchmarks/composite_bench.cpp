#include "benchmarks/families.h"

#if defined(QUIB_BENCH_PIXMAN)

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "benchmarks/pixman_view.h"

#include <cstring>
#include <memory>

namespace
{

struct Form {
    const char* name;
    int32_t compositeType;
    int32_t premulAlpha;
    int32_t divideMode;
    double limit;
    const char* peer;
    pixman_op_t operation;
};

// pixman has no composites of straight colours: premultiplied ones stand in.
constexpr Form forms[] = {
    {"QuibComposition1 over, straight", 0, 0, 0, 2.00, "pixman OVER", PIXMAN_OP_OVER},
    {"QuibComposition1 over, premultiplied", 0, 1, 0, 1.00, "pixman OVER", PIXMAN_OP_OVER},
    {"QuibComposition1 atop, premultiplied", 3, 1, 0, 1.00, "pixman ATOP", PIXMAN_OP_ATOP},
    {"QuibComposition1 over, divided", 0, 0, 1, 0, "pixman OVER", PIXMAN_OP_OVER},
};

struct Inputs {
    Inputs(int width, int height) : a(width, height, 32), b(width, height, 32) {}

    Pixels a;
    Pixels b;
};

void freeResult(IplImage* result)
{
    keep(result->imageData);
    QuibFree(&result);
}

void composeOurs(const Inputs& inputs, const Form& form)
{
    IplImage* result = nullptr;
    QuibComposition1(inputs.a.handle(), inputs.b.handle(), &result, nullptr, nullptr, nullptr,
                     form.compositeType, form.premulAlpha, form.divideMode);
    freeResult(result);
}

// The same allocation and pixman's loop. The copy of B that would have to come
// between them is left out, to its advantage.
void composeTheirs(const Inputs& inputs, const Form& form)
{
    const IplImage* a = inputs.a.handle();
    IplImage* result = nullptr;
    QuibCreate0(a->width, a->height, 32, &result);
    pixman_image_t* from = pixmanView(a);
    pixman_image_t* to = pixmanView(result);
    pixman_image_composite32(form.operation, from, nullptr, to, 0, 0, 0, 0, 0, 0, a->width,
                             a->height);
    pixman_image_unref(from);
    pixman_image_unref(to);
    freeResult(result);
}

void copyOnly(const Inputs& inputs)
{
    const IplImage* b = inputs.b.handle();
    IplImage* result = nullptr;
    QuibCreate0(b->width, b->height, 32, &result);
    std::memcpy(result->imageData, b->imageData, inputs.b.bytes());
    freeResult(result);
}

void addCasesOfSize(int width, int height, bool hasLimits)
{
    const auto inputs = std::make_shared<Inputs>(width, height);
    for (const Form& form : forms)
        addCase({.operation = form.name,
                 .width = width,
                 .height = height,
                 .limit = {.ratio = hasLimits ? form.limit : 0},
                 .ours = [=] { composeOurs(*inputs, form); },
                 .peer = form.peer,
                 .theirs = [=] { composeTheirs(*inputs, form); },
                 .floor = [=] { copyOnly(*inputs); }});
    addCase({.operation = "QuibComposition2 over",
             .width = width,
             .height = height,
             .limit = {},
             .ours =
                 [=] {
                     IplImage* result = nullptr;
                     QuibComposition2(inputs->a.handle(), inputs->b.handle(), 100, 200, &result,
                                      nullptr, nullptr, nullptr, 0);
                     freeResult(result);
                 },
             .peer = "",
             .theirs = {},
             .floor = [=] { copyOnly(*inputs); }});
}

} // namespace

void addCompositeCases()
{
    addCasesOfSize(1920, 1080, true);
    addCasesOfSize(64, 64, false);
}

#else

void addCompositeCases() {}

#endif
