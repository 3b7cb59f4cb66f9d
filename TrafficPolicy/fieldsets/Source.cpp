// Where the contents of a field set come from.
#include "fieldsets/FieldSetReport.h"

namespace TrafficPolicyCli::FieldSets {

using Classification::ContentsSource;

void renderSourceJson(textout::RendererV2& renderer,
                      const Classification::FieldSetSubConfig& version) {
    switch (version.contentsSource()) {
        case ContentsSource::configured:
            renderer.pair("source", "static");
            break;
        case ContentsSource::bgp:
            renderer.pair("source", "bgp");
            break;
        case ContentsSource::url: {
            {
                const auto object = renderer.object("urlInfo");
                renderer.pair("urlPath", version.urlPath());
                if (!version.urlVrf().empty()) renderer.pair("vrf", version.urlVrf());
            }
            renderer.pair("source", "url");
            break;
        }
        default:
            renderer.pair("source", "other");
    }
}

void renderSourceText(textout::RendererV2& renderer,
                      const Classification::FieldSetSubConfig& version) {
    switch (version.contentsSource()) {
        case ContentsSource::configured:
            renderer.text("static");
            break;
        case ContentsSource::bgp:
            renderer.text("BGP");
            break;
        case ContentsSource::url:
            renderer.name(version.urlPath());
            if (!version.urlVrf().empty()) renderer.text(" vrf ").name(version.urlVrf());
            break;
        default:
            break;
    }
}

}  // namespace TrafficPolicyCli::FieldSets
