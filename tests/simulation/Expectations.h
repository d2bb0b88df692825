#pragma once

#include <map>
#include <optional>
#include <string>

#include "tests/simulation/World.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Models/ThemeItem.h"

// What the answers of the lookups must be, told from the host's side alone: from what was asked, and from
// what the host handed out for it. Each function is called where a lookup answers, on behalf of its cause,
// and reports what is not as it must be to the world.

namespace vellora::simulation {

void checkIds(World& world, const std::map<std::string, ObjectPresentationInfo>& infos);
void checkNames(World& world, const std::map<std::string, ObjectPresentationInfo>& infos);
void checkSearchLayouts(World& world, const std::map<std::string, ObjectLayoutInfo>& layouts);
void checkCompactLayouts(World& world, const std::map<std::string, ObjectCompactLayoutInfo>& layouts);

void checkSObjectsForIds(World& world,
                         const std::map<std::string, SObjectsDataService::TypeAndInstance>& found);
void checkSObjectsForNames(World& world, const std::map<std::string, std::optional<SObject>>& found);
void checkThemes(World& world, const std::map<std::string, ThemeItem>& found);

/// Whether an answer of `cause`, which has nothing left to wait for, must have come; no value where both may
/// be.
[[nodiscard]] std::optional<bool> mustHaveAnswered(const Cause& cause);

}  // namespace vellora::simulation
