#include "driver/bundle/icon/draw_icon.h"

#include <algorithm>
#include <cmath>

namespace {

// Everything is drawn in a square of side 1, y downwards.
struct Point {
    double x, y;
};
struct Colour {
    double r, g, b;
};
struct Layer {
    Colour oColour;
    double nOpacity;
};

constexpr Colour kNight{0.055, 0.070, 0.200}, kDusk{0.165, 0.130, 0.420}, kAmber{1.000, 0.640, 0.240},
    kCream{1.000, 0.970, 0.880};
constexpr double kBars[] = {0.11, 0.23, 0.17, 0.37, 0.50, 0.30, 0.41, 0.19, 0.10}; // heights, left to right
constexpr double kBarStep = 0.076, kBarWidth = 0.042;

Colour Mix(Colour const& a, Colour const& b, double t) {
    t = std::clamp(t, 0.0, 1.0);
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

// Signed distance from a rounded box around oCentre: negative inside.
double Box(Point p, Point oCentre, Point oHalf, double nRadius) {
    double const x = std::abs(p.x - oCentre.x) - oHalf.x + nRadius, y = std::abs(p.y - oCentre.y) - oHalf.y + nRadius;
    return std::hypot(std::max(x, 0.0), std::max(y, 0.0)) + std::min(std::max(x, y), 0.0) - nRadius;
}

double Tile(Point p) {
    return Box(p, {0.5, 0.5}, {0.41, 0.41}, 0.19);
}

double NearestBar(Point p) {
    double nDistance = 1.0;
    double x = 0.5 - kBarStep * static_cast<double>(std::size(kBars) - 1) / 2;
    for (double const nHeight : kBars) {
        nDistance = std::min(nDistance, Box(p, {x, 0.5}, {kBarWidth / 2, nHeight / 2}, kBarWidth / 2));
        x += kBarStep;
    }
    return nDistance;
}

// How much of a pixel of side nPixel lies inside an edge at that distance.
double Cover(double nDistance, double nPixel) {
    return std::clamp(0.5 - nDistance / nPixel, 0.0, 1.0);
}

void Paint(Colour& oColour, double& nAlpha, Layer const& oOver) {
    double const nSum = oOver.nOpacity + nAlpha * (1 - oOver.nOpacity);
    if (nSum > 0)
        oColour = Mix(oColour, oOver.oColour, oOver.nOpacity / nSum);
    nAlpha = nSum;
}

void DrawPixel(uint8_t* pPixel, Point p, double nPixel) {
    double const nTile = Tile(p), nBar = NearestBar(p), nInside = Cover(nTile, nPixel);
    double const nShadow = std::exp(-std::pow(std::max(Tile({p.x, p.y - 0.02}), 0.0) / 0.028, 2));
    double const nGlow = std::exp(-std::max(nBar, 0.0) / 0.055);
    double const nRim = Cover(std::abs(nTile + 0.006) - 0.003, nPixel) * (0.9 - p.y);

    Colour oColour{0, 0, 0};
    double nAlpha = 0;
    for (Layer const& oLayer : {Layer{{0, 0, 0}, 0.35 * nShadow},                        // under the tile
                                Layer{Mix(kDusk, kNight, (p.y - 0.09) / 0.75), nInside}, // the tile
                                Layer{kCream, 0.35 * std::max(nRim, 0.0)},               // light on its upper edge
                                Layer{kAmber, 0.45 * nGlow * nInside},                   // what the bars shed
                                Layer{Mix(kCream, kAmber, std::abs(p.y - 0.5) / 0.25), Cover(nBar, nPixel)}})
        Paint(oColour, nAlpha, oLayer);

    double const lChannels[] = {oColour.r, oColour.g, oColour.b, nAlpha};
    for (double const nChannel : lChannels)
        *pPixel++ = static_cast<uint8_t>(std::lround(255 * nChannel));
}

} // namespace

Picture DrawIcon(int nSize) {
    Picture oPicture{nSize, std::vector<uint8_t>(static_cast<size_t>(nSize) * static_cast<size_t>(nSize) * 4)};
    double const nPixel = 1.0 / nSize;
    uint8_t* pPixel = oPicture.lPixels.data();
    for (int y = 0; y < nSize; ++y)
        for (int x = 0; x < nSize; ++x, pPixel += 4)
            DrawPixel(pPixel, {(x + 0.5) * nPixel, (y + 0.5) * nPixel}, nPixel);
    return oPicture;
}
