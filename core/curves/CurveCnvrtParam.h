// CurveCnvrtParam: parameters of convertBmCurveToBezier; only the first field,
// the window handed to the corner-protecting filter, is read.
#pragma once

struct CurveCnvrtParam {
    int window;
};
