#include "_Src/warp/smooth.h"

#include "_Src/image/round.h"
#include "_Src/walk/raster.h"
#include "_Src/warp/polygon.h"
#include "_Src/warp/quad.h"

#include <cmath>

namespace
{

// An edge along the axis on which it is longer: `along` 0 for x.
struct Edge {
    int32_t along;
    double from[2];
    double to[2];

    double length(int32_t axis) const { return to[axis] - from[axis]; }
    double across(double position) const
    {
        const int32_t other = 1 - along;
        return (position - from[along]) * length(other) / length(along) + from[other];
    }
};

struct Image {
    IplRaster raster;
    IplCorners bounds;
    int32_t orientation;
};

void store(uint8_t* out, float value)
{
    *out = static_cast<uint8_t>(ownSaturate(ownRound(value)));
}
void store(uint16_t* out, float value)
{
    *out = static_cast<uint16_t>(ownSaturate(ownRound(value)));
}
void store(float* out, float value)
{
    *out = value;
}

template<class Element>
Element* pixelAt(const IplRaster& raster, int32_t plane, int32_t x, int32_t y)
{
    return reinterpret_cast<Element*>(raster.row(plane, y)) +
           static_cast<ptrdiff_t>(x) * raster.stride + raster.first;
}

// An inner and an outer pixel and what each counts.
struct Pair {
    int32_t inner[2];
    int32_t outer[2];
    float innerWeight;
    float outerWeight;
};

template<class Element>
void mixPair(const IplRaster& raster, const Pair& pair)
{
    for (int32_t plane = 0; plane < raster.planes; ++plane) {
        const Element* inner = pixelAt<Element>(raster, plane, pair.inner[0], pair.inner[1]);
        Element* outer = pixelAt<Element>(raster, plane, pair.outer[0], pair.outer[1]);
        for (int32_t c = 0; c < raster.channels; ++c)
            store(outer + c, static_cast<float>(outer[c]) * pair.outerWeight +
                                 static_cast<float>(inner[c]) * pair.innerWeight);
    }
}

// Which way the inside of the edge lies: to the lower coordinates, or up.
bool innerIsLower(const Edge& edge, int32_t orientation)
{
    const bool forward = edge.length(edge.along) > 0.0;
    const bool lower = edge.along == 0 ? forward : !forward;
    return lower != (orientation != 0);
}

template<class Element>
void smoothEdge(const Image& image, const Edge& edge)
{
    const int32_t other = 1 - edge.along;
    const int32_t low[2]{image.bounds.x1, image.bounds.y1};
    const int32_t high[2]{image.bounds.x2, image.bounds.y2};
    const auto held = [&](double value, int32_t axis) {
        return std::clamp(ownSaturate(value), low[axis], high[axis]);
    };
    const bool lower = innerIsLower(edge, image.orientation);
    const double ends[2]{edge.from[edge.along], edge.to[edge.along]};
    const int32_t first = held(std::ceil(std::min(ends[0], ends[1])), edge.along);
    const int32_t last = held(std::floor(std::max(ends[0], ends[1])), edge.along);
    for (int32_t i = first; i <= last; ++i) {
        // Rounding may leave it an ulp outside the rectangle, where both neighbours
        // would be one pixel, without weight.
        const double p = std::clamp(edge.across(i), static_cast<double>(low[other]),
                                    static_cast<double>(high[other]));
        const int32_t floor = held(std::floor(p), other);
        const int32_t ceiling = held(std::ceil(p), other);
        const int32_t a = lower ? floor : ceiling;
        const int32_t b = lower ? ceiling : floor;
        if (p == a)
            continue;
        Pair pair{};
        pair.inner[edge.along] = pair.outer[edge.along] = i;
        pair.inner[other] = a;
        pair.outer[other] = b;
        pair.innerWeight = static_cast<float>(std::fabs(p - a));
        pair.outerWeight = static_cast<float>(std::fabs(p - b));
        mixPair<Element>(image.raster, pair);
    }
}

} // namespace

void ownSmoothQuadEdges(const IplImage* dst, const double quad[4][2], int32_t x1, int32_t y1,
                        int32_t x2, int32_t y2, int32_t orientation)
{
    Image image{{}, {x1, y1, x2, y2}, orientation};
    if (dst->depth == IPL_DEPTH_1U || !ownRegionStart(dst, &image.raster))
        return;
    double vertices[maxPolygonVertices][2];
    double scratch[maxPolygonVertices][2];
    int32_t count = 4;
    std::copy_n(&quad[0][0], 8, &vertices[0][0]);
    ownClipPolygon(vertices, scratch, &count, x1, y1, x2, y2);
    if (count <= 2)
        return;
    for (int32_t i = 0; i < count; ++i) {
        const double* from = vertices[i];
        const double* to = vertices[(i + 1) % count];
        Edge edge{0, {from[0], from[1]}, {to[0], to[1]}};
        if (edge.length(0) == 0.0 || edge.length(1) == 0.0)
            continue;
        edge.along = std::fabs(edge.length(1)) <= std::fabs(edge.length(0)) ? 0 : 1;
        const auto smooth = dst->depth == IPL_DEPTH_8U    ? smoothEdge<uint8_t>
                            : dst->depth == IPL_DEPTH_16U ? smoothEdge<uint16_t>
                                                          : smoothEdge<float>;
        smooth(image, edge);
    }
}
