// gegl.cpp - GEGL: the blurs and two pointwise operations. Its buffers use the memory of the pictures directly.

#include <gegl.h>

#include <functional>
#include <vector>

#include "../parameters.h"
#include "rivals.h"

namespace benchmarks {
namespace {

using Function = std::function<void(void*)>;

// Returns a buffer over floats in memory, which the caller still owns.
GeglBuffer* BufferOver(const void* pixels) {
    const GeglRectangle whole = {0, 0, static_cast<int>(kWidth), static_cast<int>(kHeight)};
    return gegl_buffer_linear_new_from_data(const_cast<void*>(pixels), babl_format("RaGaBaA float"), &whole,
                                            static_cast<int>(kWidth * kChannels * sizeof(float)), nullptr, nullptr);
}

// Adds the node of an operation to a graph and returns it; the caller links it to the source.
using Operation = std::function<GeglNode*(GeglNode* graph)>;

Function Rendered(const Operation& operation) {
    return [operation](void* to) {
        GeglBuffer* from = BufferOver(First().pixels.data());
        GeglNode* graph = gegl_node_new();
        GeglNode* source = gegl_node_new_child(graph, "operation", "gegl:buffer-source", "buffer", from, nullptr);
        GeglNode* node = operation(graph);
        gegl_node_link(source, node);
        const GeglRectangle whole = {0, 0, static_cast<int>(kWidth), static_cast<int>(kHeight)};
        gegl_node_blit(node, 1, &whole, babl_format("RaGaBaA float"), to, GEGL_AUTO_ROWSTRIDE, GEGL_BLIT_DEFAULT);
        g_object_unref(graph);
        g_object_unref(from);
    };
}

GeglNode* Gaussian(GeglNode* graph) {
    return gegl_node_new_child(graph, "operation", "gegl:gaussian-blur", "std-dev-x", kSigma, "std-dev-y", kSigma,
                               nullptr);
}

GeglNode* Box(GeglNode* graph) {
    return gegl_node_new_child(graph, "operation", "gegl:box-blur", "radius", kBoxWidth / 2, nullptr);
}

GeglNode* Invert(GeglNode* graph) { return gegl_node_new_child(graph, "operation", "gegl:invert-linear", nullptr); }

GeglNode* Exposure(GeglNode* graph) {
    return gegl_node_new_child(graph, "operation", "gegl:exposure", "exposure", kExposure, nullptr);
}

}  // namespace

std::vector<Rival> GeglRivals() {
    g_setenv("GEGL_THREADS", "2", /*overwrite=*/TRUE);
    static const bool isReady = [] {
        gegl_init(nullptr, nullptr);
        g_object_set(gegl_config(), "threads", 2, "use-opencl", FALSE, nullptr);
        return true;
    }();
    static_cast<void>(isReady);
    const auto named = [](const char* name, const Operation& operation) {
        return Rival{name, "GEGL", [=] { return Rendered(operation); }};
    };
    return {
        named("12 MP/gaussian blur, sigma 10", Gaussian),
        named("12 MP/box blur, 21 wide", Box),
        named("12 MP/invert", Invert),
        named("12 MP/exposure", Exposure),
    };
}

}  // namespace benchmarks
