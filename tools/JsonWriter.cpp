#include "tools/JsonWriter.h"

#include "tools/SvgWriter.h"

void JsonWriter::node(const KvCtree* n, int width, std::string& out, int depth) {
    std::string pad(static_cast<size_t>(depth) * 2, ' ');
    int x = width > 0 ? n->startOffset % width : 0;
    int y = width > 0 ? n->startOffset / width : 0;
    out += pad + "{\"kind\": \"" + std::string(n->isFrame ? "frame" : "outline") +
           "\", \"color\": \"" + SvgWriter::colour(n->color) + "\", \"start\": [" +
           std::to_string(x) + ", " + std::to_string(y) +
           "], \"chainLength\": " + std::to_string(n->dirNum) + ", \"bezier\": [";
    for (int i = 0; n->bezier && i < n->bezierCount; ++i) {
        if (i) out += ", ";
        out += "[" + SvgWriter::number(n->bezier[i].x - 0.5) + ", " +
               SvgWriter::number(n->bezier[i].y - 0.5) + "]";
    }
    out += "], \"holes\": [";
    bool first = true;
    for (const KvCtree::Holes* h = n->holes; h; h = h->next) {
        if (!h->ctree) continue;
        out += first ? "\n" : ",\n";
        first = false;
        node(h->ctree, width, out, depth + 1);
    }
    out += first ? "]}" : "\n" + pad + "]}";
}

std::string JsonWriter::write(const KvCtree* tree, int width, int height) {
    std::string out = "{\"width\": " + std::to_string(width) +
                      ", \"height\": " + std::to_string(height) + ", \"tree\": ";
    if (tree) {
        out += "\n";
        node(tree, width, out, 1);
        out += "\n";
    } else {
        out += "null";
    }
    return out + "}\n";
}
