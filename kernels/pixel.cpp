#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{
namespace pixel
{

// --- Formulas --------------------------------------------------------------------
//
// A formula is a struct with a static of(): an element from two elements, or
// from one and a constant.

// What is known of an element's type: its limits, a type that holds products,
// and the unsigned type of its width with the bit that tells their orders apart.
template<class T>
struct Element;
template<>
struct Element<uint8_t> {
    static constexpr int32_t low = 0, high = 255, signBit = 0;
    using Wide = uint16_t;
    using Unsigned = uint8_t;
};
template<>
struct Element<int8_t> {
    static constexpr int32_t low = -128, high = 127, signBit = 0x80;
    using Wide = int16_t;
    using Unsigned = uint8_t;
};
template<>
struct Element<uint16_t> {
    static constexpr int32_t low = 0, high = 65535, signBit = 0;
    using Wide = uint32_t;
    using Unsigned = uint16_t;
};
template<>
struct Element<int16_t> {
    static constexpr int32_t low = -32768, high = 32767, signBit = 0x8000;
    using Wide = int32_t;
    using Unsigned = uint16_t;
};
template<>
struct Element<int32_t> {
    static constexpr int32_t low = INT32_MIN, high = INT32_MAX;
    using Unsigned = uint32_t;
};

template<class T>
using Unsigned = typename Element<T>::Unsigned;

// The limit on a's side of zero.
template<class T>
T limitLike(T a)
{
    return static_cast<T>((a < 0 ? -1 : 0) ^ Element<T>::high);
}

// Sums and differences stay in the element's own width: widened, they take
// several times as long.
struct Add {
    static uint8_t of(uint8_t a, uint8_t b)
    {
        return static_cast<uint8_t>(smaller(a, static_cast<uint8_t>(~b)) + b);
    }
    static uint16_t of(uint16_t a, uint16_t b)
    {
        return static_cast<uint16_t>(smaller(a, static_cast<uint16_t>(~b)) + b);
    }
    template<class T>
    static T of(T a, T b)
    {
        const T sum = static_cast<T>(static_cast<Unsigned<T>>(a) + static_cast<Unsigned<T>>(b));
        const T differing = static_cast<T>((a ^ sum) & (b ^ sum));
        return differing < 0 ? limitLike(a) : sum;
    }
    static float of(float a, float b) { return a + b; }
};

struct Subtract {
    static uint8_t of(uint8_t a, uint8_t b) { return static_cast<uint8_t>(larger(a, b) - b); }
    static uint16_t of(uint16_t a, uint16_t b) { return static_cast<uint16_t>(larger(a, b) - b); }
    template<class T>
    static T of(T a, T b)
    {
        const T difference =
            static_cast<T>(static_cast<Unsigned<T>>(a) - static_cast<Unsigned<T>>(b));
        const T differing = static_cast<T>((a ^ b) & (a ^ difference));
        return differing < 0 ? limitLike(a) : difference;
    }
    static float of(float a, float b) { return a - b; }
};

struct Multiply {
    static uint16_t of(uint16_t a, uint16_t b)
    {
        const uint32_t product = static_cast<uint32_t>(a) * b;
        const uint16_t high = static_cast<uint16_t>(product >> 16);
        return high ? UINT16_MAX : static_cast<uint16_t>(product);
    }
    template<class T>
    static T of(T a, T b)
    {
        using Wide = typename Element<T>::Wide;
        const Wide product = static_cast<Wide>(a * b);
        return static_cast<T>(
            smaller<Wide>(larger<Wide>(product, Element<T>::low), Element<T>::high));
    }
    static int32_t of(int32_t a, int32_t b)
    {
        // A product that a double rounds is far past the limits.
        const double product = static_cast<double>(a) * b;
        return static_cast<int32_t>(smaller(larger(product, -2147483648.0), 2147483647.0));
    }
    static float of(float a, float b) { return a * b; }
};

struct Square {
    template<class T>
    static T of(T a)
    {
        return Multiply::of(a, a);
    }
};

// a * b / M, rounded down.
struct MultiplyScale {
    static uint8_t of(uint8_t a, uint8_t b)
    {
        const uint16_t t = static_cast<uint16_t>(a * b);
        return static_cast<uint8_t>(static_cast<uint16_t>((t >> 8) + t + 1) >> 8);
    }
    static uint16_t of(uint16_t a, uint16_t b)
    {
        const uint32_t t = static_cast<uint32_t>(a) * b;
        const uint16_t high = static_cast<uint16_t>(t >> 16);
        // The low half carries when high + 1 is added to it.
        const uint16_t carry = static_cast<uint16_t>(t) >= static_cast<uint16_t>(~high) ? 1 : 0;
        return static_cast<uint16_t>(high + carry);
    }
};

struct Absolute {
    template<class T>
    static T of(T a)
    {
        // The smallest element has no counterpart.
        const T bounded = larger<T>(a, -Element<T>::high);
        return static_cast<T>(bounded < 0 ? -bounded : bounded);
    }
    static float of(float a) { return 0.0f > a ? -a : a; }
};

struct LeftShift {
    template<class T>
    static T of(T a, int32_t bits)
    {
        return static_cast<T>(static_cast<uint32_t>(a) << bits);
    }
    // Four bytes in each word.
    template<class Words>
    static Words ofBytes(Words bytes, int32_t bits)
    {
        return (bytes << bits) & (0xFFu << bits & 0xFF) * 0x01010101u;
    }
};

struct RightShift {
    template<class T>
    static T of(T a, int32_t bits)
    {
        return static_cast<T>(a >> bits);
    }
    template<class Words>
    static Words ofBytes(Words bytes, int32_t bits)
    {
        return (bytes >> bits) & (0xFFu >> bits) * 0x01010101u;
    }
};

struct SignedRightShift {
    static int8_t of(int8_t a, int32_t bits) { return RightShift::of(a, bits); }
    template<class Words>
    static Words ofBytes(Words bytes, int32_t bits)
    {
        const Words signs = bytes & 0x80808080u;
        const Words negatives = (signs << 1) - (signs >> 7);
        return RightShift::ofBytes(bytes, bits) |
               (negatives & (0xFF00u >> bits & 0xFF) * 0x01010101u);
    }
};

struct And {
    template<class T>
    static T of(T a, T b)
    {
        return static_cast<T>(a & b);
    }
};
struct Or {
    template<class T>
    static T of(T a, T b)
    {
        return static_cast<T>(a | b);
    }
};
struct Xor {
    template<class T>
    static T of(T a, T b)
    {
        return static_cast<T>(a ^ b);
    }
};

// --- Whole vectors ---------------------------------------------------------------------
//
// Forms of some formulas for a vector's worth of elements at once, where the
// compiler makes less of the plain ones.

template<class T, class Formula>
struct VectorForm {
};

template<class T>
requires(sizeof(T) <= 2) struct VectorForm<T, Add> {
    static Vector<T> of(Vector<T> a, Vector<T> b) { return addSaturated(a, b); }
};
template<class T>
requires(sizeof(T) <= 2) struct VectorForm<T, Subtract> {
    static Vector<T> of(Vector<T> a, Vector<T> b) { return subtractSaturated(a, b); }
};

template<>
struct VectorForm<uint8_t, Multiply> {
    static U8<> of(U8<> a, U8<> b)
    {
        const U16<> limit = spread<U16<>>(255);
        return packToU8(smaller(widenLow(a) * widenLow(b), limit),
                        smaller(widenHigh(a) * widenHigh(b), limit));
    }
};
template<>
struct VectorForm<uint8_t, Square> {
    static U8<> of(U8<> a) { return VectorForm<uint8_t, Multiply>::of(a, a); }
};

// a * b / 255, rounded down: the high byte of a * 257 * (b * 256 + 1) / 65536,
// whose 1 makes up for 257 * 255 being less than 65536.
U16<> scaledWords(U8<> a257, U8<> b256)
{
    return highProducts(as<U16<>>(a257), as<U16<>>(b256)) >> 8;
}

template<>
struct VectorForm<uint8_t, MultiplyScale> {
    static U8<> of(U8<> a, U8<> b)
    {
        const U8<> one = spread<U8<>>(1);
        return packToU8(scaledWords(interleaveLow(a, a), interleaveLow(one, b)),
                        scaledWords(interleaveHigh(a, a), interleaveHigh(one, b)));
    }
};

template<class T>
struct VectorForm<T, And> {
    static Vector<T> of(Vector<T> a, Vector<T> b) { return a & b; }
};
template<class T>
struct VectorForm<T, Or> {
    static Vector<T> of(Vector<T> a, Vector<T> b) { return a | b; }
};
template<class T>
struct VectorForm<T, Xor> {
    static Vector<T> of(Vector<T> a, Vector<T> b) { return a ^ b; }
};

template<class T, class Formula>
concept HasVectorForm = requires
{
    &VectorForm<T, Formula>::of;
};

// --- Runs ------------------------------------------------------------------------
//
// Identical operands are allowed, so the loops promise the compiler independent
// elements instead of separate blocks.

// How many elements to do one by one before vectors end where a vector's
// alignment does. Short runs are not worth it.
template<class T>
size_t elementsToAlignment(const T* out, size_t count)
{
    if (count * sizeof(T) < 4096)
        return 0;
    return (0 - reinterpret_cast<uintptr_t>(out)) % wide / sizeof(T);
}

// Nothing else fetches the sources across the ends of pages.
void prefetch(const void* address)
{
    __builtin_prefetch(static_cast<const uint8_t*>(address) + 1024);
}

// Sets out[i] to ofVectors(x[i], y[i]), a vector's worth at a time, and gives the
// number of elements done.
template<bool streamed, class T, class OfVectors>
size_t runWholeVectors(T* out, const T* x, const T* y, size_t count, OfVectors ofVectors)
{
    constexpr size_t lanes = wide / sizeof(T);
    const auto loaded = [](const T* from) { return load<Vector<T>>(from); };
    const auto put = [](T* to, Vector<T> vector) {
        if constexpr (streamed)
            stream(to, vector);
        else
            store(to, vector);
    };
    size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        if (streamed) {
            prefetch(x + i);
            prefetch(y + i);
        }
        const Vector<T> first = ofVectors(loaded(x + i), loaded(y + i));
        const Vector<T> second = ofVectors(loaded(x + i + lanes), loaded(y + i + lanes));
        put(out + i, first);
        put(out + i + lanes, second);
    }
    if (streamed)
        endStreaming();
    return i;
}

template<class T, class OfElements>
void runElements(T* out, const T* x, const T* y, size_t count, OfElements ofElements)
{
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i)
        out[i] = ofElements(x[i], y[i]);
}

// Sets out[i] to ofElements(x[i], y[i]), of which ofVectors() is the vector form.
template<class T, class OfElements, class OfVectors>
void runVectors(T* out, const T* x, const T* y, size_t count, OfElements ofElements,
                OfVectors ofVectors)
{
    size_t i = elementsToAlignment(out, count);
    for (size_t lead = 0; lead < i; ++lead)
        out[lead] = ofElements(x[lead], y[lead]);
    i += isStreamed<wide>(out + i, x + i, y + i, (count - i) * sizeof(T))
             ? runWholeVectors<true>(out + i, x + i, y + i, count - i, ofVectors)
             : runWholeVectors<false>(out + i, x + i, y + i, count - i, ofVectors);
    runElements(out + i, x + i, y + i, count - i, ofElements);
}

template<class T, class Formula>
void pairRun(void* dst, const void* a, const void* b, size_t count, int32_t)
{
    T* out = static_cast<T*>(dst);
    const T* x = static_cast<const T*>(a);
    const T* y = static_cast<const T*>(b);
    const auto ofElements = [](T first, T second) { return Formula::of(first, second); };
    if constexpr (HasVectorForm<T, Formula>)
        runVectors(out, x, y, count, ofElements, [](Vector<T> first, Vector<T> second) {
            return VectorForm<T, Formula>::of(first, second);
        });
    else
        runElements(out, x, y, count, ofElements);
}

template<class T, class Formula>
void singleRun(void* dst, const void* a, const void*, size_t count, int32_t)
{
    T* out = static_cast<T*>(dst);
    const T* x = static_cast<const T*>(a);
    const auto ofElements = [](T element, T) { return Formula::of(element); };
    if constexpr (HasVectorForm<T, Formula>)
        runVectors(out, x, x, count, ofElements, [](Vector<T> elements, Vector<T>) {
            return VectorForm<T, Formula>::of(elements);
        });
    else
        runElements(out, x, x, count, ofElements);
}

template<class T, class Formula, class Constant>
void constantRun(void* dst, const void* a, size_t count, Constant constant)
{
    T* out = static_cast<T*>(dst);
    const T* x = static_cast<const T*>(a);
    const auto ofElements = [constant](T element, T) { return Formula::of(element, constant); };
    if constexpr (HasVectorForm<T, Formula>)
        runVectors(out, x, x, count, ofElements,
                   [constants = spread<Vector<Constant>>(constant)](Vector<T> elements, Vector<T>) {
                       return VectorForm<T, Formula>::of(elements, constants);
                   });
    else
        runElements(out, x, x, count, ofElements);
}

template<class T, class Formula>
void scalarRun(void* dst, const void* a, const void*, size_t count, int32_t value)
{
    constantRun<T, Formula>(dst, a, count, static_cast<T>(value));
}

// --- Scalar subtraction -------------------------------------------------------------
//
// The value may lie outside the element's range. Flipping the sign bit turns a
// signed element into an unsigned one in the same order, for which one of two
// unsigned operations with a constant in range does it.

template<class T>
Unsigned<T> flip(T a)
{
    return static_cast<Unsigned<T>>(static_cast<Unsigned<T>>(a) ^ Element<T>::signBit);
}

template<class T>
T flipBack(Unsigned<T> a)
{
    return static_cast<T>(a ^ Element<T>::signBit);
}

template<class T>
struct Lower {
    static T of(T a, Unsigned<T> k) { return flipBack<T>(Subtract::of(flip(a), k)); }
};
template<class T>
struct Raise {
    static T of(T a, Unsigned<T> k) { return flipBack<T>(Add::of(flip(a), k)); }
};
template<class T>
struct LowerFrom {
    static T of(T a, Unsigned<T> k) { return flipBack<T>(Subtract::of(k, flip(a))); }
};
// Lowers the largest element by what a exceeds k by.
template<class T>
struct LowerLargest {
    static T of(T a, Unsigned<T> k)
    {
        return flipBack<T>(static_cast<Unsigned<T>>(~Subtract::of(flip(a), k)));
    }
};

// The same in vectors, which alone are streamed.
template<class T>
using UnsignedVector = Vector<Unsigned<T>>;

template<class T>
UnsignedVector<T> flip(Vector<T> a)
{
    return as<UnsignedVector<T>>(a) ^ static_cast<Unsigned<T>>(Element<T>::signBit);
}

template<class T>
Vector<T> flipBack(UnsignedVector<T> a)
{
    return as<Vector<T>>(a ^ static_cast<Unsigned<T>>(Element<T>::signBit));
}

template<class T>
struct VectorForm<T, Lower<T>> {
    static Vector<T> of(Vector<T> a, UnsignedVector<T> k)
    {
        return flipBack<T>(subtractSaturated(flip<T>(a), k));
    }
};
template<class T>
struct VectorForm<T, Raise<T>> {
    static Vector<T> of(Vector<T> a, UnsignedVector<T> k)
    {
        return flipBack<T>(addSaturated(flip<T>(a), k));
    }
};
template<class T>
struct VectorForm<T, LowerFrom<T>> {
    static Vector<T> of(Vector<T> a, UnsignedVector<T> k)
    {
        return flipBack<T>(subtractSaturated(k, flip<T>(a)));
    }
};
template<class T>
struct VectorForm<T, LowerLargest<T>> {
    static Vector<T> of(Vector<T> a, UnsignedVector<T> k)
    {
        return flipBack<T>(~subtractSaturated(flip<T>(a), k));
    }
};

template<class T>
void subtractRun(void* dst, const void* a, const void*, size_t count, int32_t value)
{
    if (value >= 0)
        constantRun<T, Lower<T>>(dst, a, count, static_cast<Unsigned<T>>(value));
    else
        constantRun<T, Raise<T>>(dst, a, count, static_cast<Unsigned<T>>(-value));
}

template<class T>
void subtractFromRun(void* dst, const void* a, const void*, size_t count, int32_t value)
{
    constexpr int32_t largest = static_cast<Unsigned<T>>(~Unsigned<T>{0});
    const int32_t flipped = value + 2 * Element<T>::signBit;
    if (flipped <= largest)
        constantRun<T, LowerFrom<T>>(dst, a, count, static_cast<Unsigned<T>>(flipped));
    else
        constantRun<T, LowerLargest<T>>(dst, a, count, static_cast<Unsigned<T>>(flipped - largest));
}

struct SubtractFrom {
    static int32_t of(int32_t a, int32_t value) { return Subtract::of(value, a); }
};

template<class T, class Formula>
void shiftRun(void* dst, const void* a, const void*, size_t count, int32_t value)
{
    constantRun<T, Formula>(dst, a, count, value);
}

// Processors have no shifts of bytes: words of four are shifted.
template<class T, class Formula>
void byteShiftRun(void* dst, const void* a, const void*, size_t count, int32_t value)
{
    T* out = static_cast<T*>(dst);
    const T* x = static_cast<const T*>(a);
    runVectors(
        out, x, x, count, [value](T element, T) { return Formula::of(element, value); },
        [value](Vector<T> elements, Vector<T>) {
            return as<Vector<T>>(Formula::ofBytes(as<U32<>>(elements), value));
        });
}

// --- The table -------------------------------------------------------------------------

template<class Formula>
constexpr PixelRuns pairRuns{
    .u8 = pairRun<uint8_t, Formula>,
    .s8 = pairRun<int8_t, Formula>,
    .u16 = pairRun<uint16_t, Formula>,
    .s16 = pairRun<int16_t, Formula>,
    .s32 = pairRun<int32_t, Formula>,
    .f32 = pairRun<float, Formula>,
};

// Signed and unsigned elements of a width are alike to these.
template<class Formula>
constexpr PixelRuns pairLogicRuns{
    .u8 = pairRun<uint8_t, Formula>,
    .s8 = pairRun<uint8_t, Formula>,
    .u16 = pairRun<uint16_t, Formula>,
    .s16 = pairRun<uint16_t, Formula>,
    .s32 = pairRun<uint32_t, Formula>,
    .f32 = nullptr,
};
template<class Formula>
constexpr PixelRuns scalarLogicRuns{
    .u8 = scalarRun<uint8_t, Formula>,
    .s8 = scalarRun<uint8_t, Formula>,
    .u16 = scalarRun<uint16_t, Formula>,
    .s16 = scalarRun<uint16_t, Formula>,
    .s32 = scalarRun<uint32_t, Formula>,
    .f32 = nullptr,
};

constexpr PixelKernels table{
    .addS = {.u8 = nullptr,
             .s8 = nullptr,
             .u16 = nullptr,
             .s16 = nullptr,
             .s32 = scalarRun<int32_t, Add>,
             .f32 = nullptr},
    .subtractS = {.u8 = subtractRun<uint8_t>,
                  .s8 = subtractRun<int8_t>,
                  .u16 = subtractRun<uint16_t>,
                  .s16 = subtractRun<int16_t>,
                  .s32 = scalarRun<int32_t, Subtract>,
                  .f32 = nullptr},
    .subtractFromS = {.u8 = subtractFromRun<uint8_t>,
                      .s8 = subtractFromRun<int8_t>,
                      .u16 = subtractFromRun<uint16_t>,
                      .s16 = subtractFromRun<int16_t>,
                      .s32 = scalarRun<int32_t, SubtractFrom>,
                      .f32 = nullptr},
    .multiplyS = {.u8 = scalarRun<uint8_t, Multiply>,
                  .s8 = scalarRun<int8_t, Multiply>,
                  .u16 = scalarRun<uint16_t, Multiply>,
                  .s16 = scalarRun<int16_t, Multiply>,
                  .s32 = scalarRun<int32_t, Multiply>,
                  .f32 = nullptr},
    .multiplyScaleS = {.u8 = scalarRun<uint8_t, MultiplyScale>,
                       .s8 = nullptr,
                       .u16 = scalarRun<uint16_t, MultiplyScale>,
                       .s16 = nullptr,
                       .s32 = nullptr,
                       .f32 = nullptr},
    .square = {.u8 = singleRun<uint8_t, Square>,
               .s8 = singleRun<int8_t, Square>,
               .u16 = singleRun<uint16_t, Square>,
               .s16 = singleRun<int16_t, Square>,
               .s32 = singleRun<int32_t, Square>,
               .f32 = singleRun<float, Square>},
    .absolute = {.u8 = nullptr,
                 .s8 = singleRun<int8_t, Absolute>,
                 .u16 = nullptr,
                 .s16 = singleRun<int16_t, Absolute>,
                 .s32 = singleRun<int32_t, Absolute>,
                 .f32 = singleRun<float, Absolute>},
    .leftShiftS = {.u8 = byteShiftRun<uint8_t, LeftShift>,
                   .s8 = byteShiftRun<uint8_t, LeftShift>,
                   .u16 = shiftRun<uint16_t, LeftShift>,
                   .s16 = shiftRun<uint16_t, LeftShift>,
                   .s32 = shiftRun<uint32_t, LeftShift>,
                   .f32 = nullptr},
    .rightShiftS = {.u8 = byteShiftRun<uint8_t, RightShift>,
                    .s8 = byteShiftRun<int8_t, SignedRightShift>,
                    .u16 = shiftRun<uint16_t, RightShift>,
                    .s16 = shiftRun<int16_t, RightShift>,
                    .s32 = shiftRun<int32_t, RightShift>,
                    .f32 = nullptr},
    .andS = scalarLogicRuns<And>,
    .orS = scalarLogicRuns<Or>,
    .xorS = scalarLogicRuns<Xor>,
    .add = pairRuns<Add>,
    .subtract = pairRuns<Subtract>,
    .multiply = pairRuns<Multiply>,
    .multiplyScale = {.u8 = pairRun<uint8_t, MultiplyScale>,
                      .s8 = nullptr,
                      .u16 = pairRun<uint16_t, MultiplyScale>,
                      .s16 = nullptr,
                      .s32 = nullptr,
                      .f32 = nullptr},
    .logicAnd = pairLogicRuns<And>,
    .logicOr = pairLogicRuns<Or>,
    .logicXor = pairLogicRuns<Xor>,
};

} // namespace pixel

} // namespace

constinit const PixelKernels pixelKernels = pixel::table;

} // namespace quib::QUIB_LEVEL
