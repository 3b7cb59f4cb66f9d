// A report on its descriptor.
#pragma once

#include "textout/RendererV2.h"

namespace TrafficPolicyCli {

// Lets a body print into a new document, and ends it. What an exception cuts off stays unclosed.
template <class Body>
void printReport(U32 fd, U32 format, U32 revision, const Body& body) {
    textout::TextOutBuffer out(fd);
    textout::RendererV2 renderer(out, format, revision);
    renderer.documentBegin();
    body(renderer);
    renderer.documentEnd();
    renderer.flush();
}

// Runs a report; an operator's interrupt ends it.
template <class Run>
void untilInterrupted(const Run& run) {
    try {
        run();
    } catch (const textout::SigIntException& interrupt) {
        textout::printExiting(interrupt.what());
    }
}

}  // namespace TrafficPolicyCli
