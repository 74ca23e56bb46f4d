// SPDX-License-Identifier: MIT
.pragma library

// Contrast between opaque colours, as WCAG 2.2 defines it: https://www.w3.org/TR/WCAG22/#dfn-contrast-ratio

/// The light of a part of an sRGB colour, and back.
function decoded(part) {
    return part <= 0.04045 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4);
}

function encoded(light) {
    return light <= 0.0031308 ? light * 12.92 : 1.055 * Math.pow(light, 1 / 2.4) - 0.055;
}

/// 0 for black to 1 for white.
function luminance(color) {
    return 0.2126 * decoded(color.r) + 0.7152 * decoded(color.g) + 0.0722 * decoded(color.b);
}

/// The colour itself if its contrast to the ground is at least `ratio`. Otherwise, a shade of it on a light ground and
/// a tint of it on a dark one.
function legible(color, ground, ratio) {
    const own = luminance(color);
    const below = luminance(ground) + 0.05;
    const isShade = below > 0.23; // black stands out more than white
    const wanted = isShade ? below / ratio - 0.05 : below * ratio - 0.05;
    if (isShade ? own <= wanted : own >= wanted) {
        return color;
    }
    const change = isShade ? light => light * wanted / own
                           : light => light + (1 - light) * (wanted - own) / (1 - own);
    const changed = part => encoded(change(decoded(part)));
    return Qt.rgba(changed(color.r), changed(color.g), changed(color.b), 1);
}
