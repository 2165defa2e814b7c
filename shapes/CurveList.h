// CurveList: the fitted curves of one shape's loops (Shape::curves), a
// sequence of point lists with the operations of a std::vector that the
// shapes use. Empty (polygon mode, or no fit) it is one null pointer: a
// picture of millions of regions drawn as polygons pays 8 bytes a shape.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "shapes/PointD.h"

namespace om1 {

class CurveList {
public:
    using Curve = std::vector<PointD>;
    using value_type = Curve;
    using iterator = Curve*;
    using const_iterator = const Curve*;

    CurveList() = default;
    CurveList(const CurveList& other)
        : list_(other.list_ ? std::make_unique<std::vector<Curve>>(*other.list_) : nullptr) {}
    CurveList(CurveList&&) noexcept = default;
    CurveList& operator=(const CurveList& other) {
        if (this != &other)
            list_ = other.list_ ? std::make_unique<std::vector<Curve>>(*other.list_) : nullptr;
        return *this;
    }
    CurveList& operator=(CurveList&&) noexcept = default;

    size_t size() const { return list_ ? list_->size() : 0; }
    bool empty() const { return size() == 0; }
    Curve& operator[](size_t k) { return (*list_)[k]; }
    const Curve& operator[](size_t k) const { return (*list_)[k]; }
    Curve* begin() { return list_ ? list_->data() : nullptr; }
    Curve* end() { return list_ ? list_->data() + list_->size() : nullptr; }
    const Curve* begin() const { return list_ ? list_->data() : nullptr; }
    const Curve* end() const { return list_ ? list_->data() + list_->size() : nullptr; }

    // n copies of `curve`.
    void assign(size_t n, const Curve& curve) {
        if (n == 0) {
            list_.reset();
            return;
        }
        if (!list_) list_ = std::make_unique<std::vector<Curve>>();
        list_->assign(n, curve);
    }
    void clear() { list_.reset(); }

private:
    std::unique_ptr<std::vector<Curve>> list_;
};

}  // namespace om1
