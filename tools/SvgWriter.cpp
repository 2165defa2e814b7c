#include "tools/SvgWriter.h"

#include <cmath>
#include <cstdio>
#include <vector>

std::string SvgWriter::number(double v) {
    char buf[64];
    double r = std::round(v * 100.0) / 100.0;
    if (r == 0) r = 0;  // no "-0"
    snprintf(buf, sizeof(buf), "%.2f", r);
    std::string s(buf);
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    return s;
}

std::string SvgWriter::colour(const RGBQUAD& c) {
    char buf[8];
    snprintf(buf, sizeof(buf), "#%02x%02x%02x", c.rgbRed, c.rgbGreen, c.rgbBlue);
    return buf;
}

std::string SvgWriter::pathData(const KvCtree* node) {
    if (!node || node->bezierCount < 4 || !node->bezier) return std::string();
    const KvPoint* p = node->bezier;
    std::string d = "M" + number(p[0].x - 0.5) + " " + number(p[0].y - 0.5);
    for (int i = 1; i + 2 < node->bezierCount; i += 3) {
        d += "C" + number(p[i].x - 0.5) + " " + number(p[i].y - 0.5) + " " +
             number(p[i + 1].x - 0.5) + " " + number(p[i + 1].y - 0.5) + " " +
             number(p[i + 2].x - 0.5) + " " + number(p[i + 2].y - 0.5);
    }
    return d + "Z";
}

std::string SvgWriter::write(const KvCtree* tree, int width, int height,
                             const std::function<bool(const KvCtree*)>& skip) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(width) +
           "\" height=\"" + std::to_string(height) + "\" viewBox=\"0 0 " + std::to_string(width) +
           " " + std::to_string(height) + "\">\n";
    out += "<g stroke-width=\"1\" stroke-linejoin=\"round\">\n";
    // Depth first, parents before their holes, without recursion.
    std::vector<const KvCtree*> stack;
    if (tree) stack.push_back(tree);
    while (!stack.empty()) {
        const KvCtree* n = stack.back();
        stack.pop_back();
        if (!n->isFrame && !(skip && skip(n))) {
            std::string d = pathData(n);
            if (!d.empty()) {
                std::string c = colour(n->color);
                out += "<path fill=\"" + c + "\" stroke=\"" + c + "\" d=\"" + d + "\"/>\n";
            }
        }
        std::vector<const KvCtree*> holes;
        for (const KvCtree::Holes* h = n->holes; h; h = h->next)
            if (h->ctree) holes.push_back(h->ctree);
        for (auto it = holes.rbegin(); it != holes.rend(); ++it) stack.push_back(*it);
    }
    out += "</g>\n</svg>\n";
    return out;
}
