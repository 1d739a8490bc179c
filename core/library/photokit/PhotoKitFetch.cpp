#include "library/photokit/PhotoKitFetch.h"

namespace lorekeep::photokit {

FetchPlan fetchPlan(const FetchOptions& options, FetchKind kind) {
    FetchPlan plan;
    plan.newestFirst = options.newestFirst;
    plan.sourceTypes =
        static_cast<unsigned>(options.sourceTypes) & (AssetSourceType::userLibrary | AssetSourceType::cloudShared);
    // PhotoKit reads an empty source type set as "the user's library": asking for no known source must give nothing.
    if (plan.sourceTypes == 0) {
        plan.matchesNothing = true;
        return plan;
    }

    plan.includeHiddenAssets = options.includeHidden || options.hiddenOnly;
    if (options.hiddenOnly)
        plan.conditions.push_back({"isHidden", Condition::Op::equal, true});
    else if (!options.includeHidden && kind == FetchKind::byIdentifiers)
        // A fetch by identifiers returns hidden assets whatever includeHiddenAssets says.
        plan.conditions.push_back({"isHidden", Condition::Op::equal, false});
    if (options.mediaType)
        plan.conditions.push_back({"mediaType", Condition::Op::equal, static_cast<long long>(*options.mediaType)});
    if (options.createdOnOrAfter)
        plan.conditions.push_back({"creationDate", Condition::Op::atLeast, *options.createdOnOrAfter});
    return plan;
}

} // namespace lorekeep::photokit
