#pragma once

#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include <string>
#include <string_view>

namespace vantrel {

/// Headers: a project's, shared by everyone in it, and this user's own in an area. Each checks everything
/// before it writes anything.
class HeaderRules {
public:
  explicit HeaderRules(const RuleContext& context) : context_(context) {}

  /// A header at the top of the project's items or after the last.
  std::string addToProject(std::string_view project, std::string_view title, bool insertAtTop = false) const;
  /// This user's header at the top of the area's items or after the last.
  std::string addToArea(std::string_view area, std::string_view title, bool insertAtTop = false) const;
  /// Renames a header of either kind.
  void setTitle(std::string_view header, std::string_view title) const;
  /// Deletes a header of either kind; a project header's tasks stay in the project.
  void remove(std::string_view header) const;

private:
  const RuleContext& context_;
};

} // namespace vantrel
