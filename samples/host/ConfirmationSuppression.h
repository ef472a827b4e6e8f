#pragma once

/// Has the library leave out the confirmation of one change: lives around the request.
///
/// The library deletes the mark when it takes the request. A request that does not get so far
/// leaves it there, where it would silence the next one: then this object deletes it.
class ConfirmationSuppression {
 public:
  /// Throws a CommandError when the mark can't be made.
  ConfirmationSuppression();
  ~ConfirmationSuppression();
  ConfirmationSuppression(const ConfirmationSuppression&) = delete;
  ConfirmationSuppression& operator=(const ConfirmationSuppression&) = delete;
};
