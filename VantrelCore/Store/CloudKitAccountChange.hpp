#pragma once

namespace vantrel {

/// What the sync engine reports of the device's account.
enum class CloudKitAccountChange { signedIn, signedOut, switchAccounts };

} // namespace vantrel
