#pragma once
// TRPSColor: a project's colour as the project store keeps it.
//
// In the file a colour is a block of exactly 16 bytes: red, green, blue and
// alpha, in that order, each an IEEE-754 single-precision number in
// little-endian byte order, sRGB components from 0 to 1. The main
// application reads and writes the same block; a block of any other length
// reads as no colour. This layer has no GUI library: the UI turns a
// TRPSColor into a QColor (TRColorDrawingHelper).

#include <QByteArray>
#include <optional>

struct TRPSColor final {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 1;

    QByteArray toBytes() const;
    static std::optional<TRPSColor> fromBytes(const QByteArray& bytes);
    friend bool operator==(const TRPSColor&, const TRPSColor&) = default;

    static TRPSColor white(float level) { return {level, level, level, 1}; }
    static TRPSColor redColor() { return {1, 0, 0, 1}; }
    static TRPSColor orangeColor() { return {1, 0.5f, 0, 1}; }
    static TRPSColor yellowColor() { return {1, 1, 0, 1}; }
    static TRPSColor greenColor() { return {0, 1, 0, 1}; }
    static TRPSColor blueColor() { return {0, 0, 1, 1}; }
    static TRPSColor lightPurpleColor() { return {0.75f, 0.5f, 1, 1}; }
    static TRPSColor lightGrayColor() { return white(2.0f / 3.0f); }
    static TRPSColor whiteColor() { return white(1); }
    static TRPSColor darkGrayColor() { return white(1.0f / 3.0f); }
    static TRPSColor blackColor() { return white(0); }

    // The cycle a new project takes its colour from: red, orange, yellow,
    // green, blue, light purple, light grey, white; black for a negative index.
    static TRPSColor baseColorWithIndex(long long index);
};
