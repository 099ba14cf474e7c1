// Each painter works out one texel from its place.
#include "examples/pictures/painters.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kpx::example {
namespace {

// Pictures are about this much wider than high; circles are meant to be round.
constexpr float aspect = 1.3F;
constexpr float turn = 2.0F * std::numbers::pi_v<float>;

float clampedStep(float low, float high, float x) {
    return std::clamp((x - low) / (high - low), 0.0F, 1.0F);
}

Texel mix(const Texel& from, const Texel& to, float share) {
    Texel result{};
    for (std::size_t c = 0; c < result.size(); ++c) result[c] = from[c] + share * (to[c] - from[c]);
    return result;
}

float distance(float u, float v, float centreU, float centreV) {
    return std::hypot((u - centreU) * aspect, v - centreV);
}

// 0 and 1 are red.
Texel hue(float position) {
    const auto channel = [position](float peak) {
        const float away = std::fabs(position - peak);
        return std::clamp(2.0F - 6.0F * std::min(away, 1.0F - away), 0.0F, 1.0F);
    };
    return {channel(0.0F), channel(1.0F / 3.0F), channel(2.0F / 3.0F), 1.0F};
}

Texel grey(float value) {
    return {value, value, value, 1.0F};
}

// White, yellow, cyan, green, magenta, red, blue, black.
Texel colourBar(float u) {
    const int bar = std::min(static_cast<int>(u * 8.0F), 7);
    const auto lit = [bar](int bit) { return (bar & bit) == 0 ? 1.0F : 0.0F; };
    return {lit(2), lit(4), lit(1), 1.0F};
}

Texel cardColour(float u, float v) {
    constexpr float rampTop = 0.875F;
    constexpr float barsTop = 0.75F;
    constexpr float pureHue = 0.3F;
    if (v >= rampTop) return grey(u);
    if (v >= barsTop) return colourBar(u);
    if (u * aspect + v < 0.18F) return grey(1.0F);
    if (v < pureHue) return mix(grey(1.0F), hue(u), 0.2F + 0.8F * v / pureHue);
    return mix(hue(u), grey(0.0F), 0.8F * (v - pureHue) / (barsTop - pureHue));
}

float hill(float u, float v, float centreU, float centreV, float width) {
    const float away = distance(u, v, centreU, centreV) / width;
    return std::exp(-away * away);
}

float heightAt(float u, float v) {
    const float hills = 0.8F * hill(u, v, 0.3F, 0.4F, 0.35F) + 0.6F * hill(u, v, 0.75F, 0.65F, 0.25F);
    return std::clamp(hills + 0.08F * std::sin(turn * 3.0F * u) * std::cos(turn * 2.0F * v) + 0.05F, 0.0F, 1.0F);
}

}  // namespace

Picture paint(Painter painter, Size size) {
    constexpr unsigned samples = 3;  // across and down
    Picture picture{size.width, size.height, {}};
    picture.texels.reserve(std::size_t{size.width} * size.height);
    for (unsigned y = 0; y < size.height; ++y) {
        for (unsigned x = 0; x < size.width; ++x) {
            Texel sum{};
            for (unsigned i = 0; i < samples * samples; ++i) {
                const auto place = [](unsigned pixel, unsigned sample, unsigned side) {
                    const auto position = static_cast<float>(pixel * samples + sample) + 0.5F;
                    return position / static_cast<float>(side * samples);
                };
                const Texel sample = painter(place(x, i % samples, size.width), place(y, i / samples, size.height));
                for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += sample[c] / (samples * samples);
            }
            picture.texels.push_back(sum);
        }
    }
    return picture;
}

Texel testCard(float u, float v) {
    Texel texel = cardColour(u, v);
    texel[3] = clampedStep(0.1F, 0.25F, distance(u, v, 0.75F, 0.4F));
    return texel;
}

Texel opaqueCard(float u, float v) {
    return cardColour(u, v);
}

Texel greyCard(float u, float v) {
    const Texel card = testCard(u, v);
    Texel texel = grey(0.3F * card[0] + 0.6F * card[1] + 0.1F * card[2]);
    texel[3] = card[3];
    return texel;
}

Texel heights(float u, float v) {
    return grey(heightAt(u, v));
}

Texel normals(float u, float v) {
    constexpr float step = 0.01F;
    constexpr float steepness = 0.4F;
    const float x = steepness * (heightAt(u - step, v) - heightAt(u + step, v)) / (2.0F * step);
    const float y = steepness * (heightAt(u, v - step) - heightAt(u, v + step)) / (2.0F * step);
    const float length = std::sqrt(x * x + y * y + 1.0F);
    return {0.5F + 0.5F * x / length, 0.5F + 0.5F * y / length, 0.5F + 0.5F / length, 1.0F};
}

Texel sky(float u, float v) {
    constexpr float horizon = 0.7F;
    const Texel zenith{0.05F, 0.15F, 0.6F, 1.0F};
    const Texel haze{0.9F, 0.7F, 0.5F, 1.0F};
    const Texel sea{0.02F, 0.08F, 0.12F, 1.0F};
    if (v > horizon) {
        const float glitter = hill(u, 0.0F, 0.65F, 0.0F, 0.12F) * (0.5F + 0.5F * std::sin(turn * 20.0F * v));
        return mix(sea, {1.5F, 1.1F, 0.6F, 1.0F}, glitter);
    }
    const float fromSun = distance(u, v, 0.65F, 0.35F);
    if (fromSun < 0.07F) return {4000.0F, 3600.0F, 2800.0F, 1.0F};
    const Texel air = mix(zenith, haze, (v / horizon) * (v / horizon));
    const float glow = 0.012F / (fromSun * fromSun);
    return {air[0] + glow, air[1] + 0.8F * glow, air[2] + 0.4F * glow, 1.0F};
}

Texel signedWaves(float u, float v) {
    const auto wave = [](float position) { return 0.3F + 0.5F * std::sin(turn * position); };
    return {wave(1.5F * u), wave(1.5F * v), wave(u + v), 1.0F};
}

}  // namespace kpx::example
