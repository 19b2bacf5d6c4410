#pragma once

#include <functional>

class QWidget;
class QString;
class UlvexError;

// Shows an error that reached a window's handler (a database failure, say) in
// a message box titled "Ulvex" with the error's number and description. The
// program goes on afterwards; nothing else is lost.
namespace ErrorMessage {

// The text of the box, "Error <number>" and the description on the next line.
QString text(const UlvexError &error);

void show(QWidget *parent, const UlvexError &error);

// Tests and non-interactive callers may take the message instead of a modal
// box; pass an empty function to restore the box.
using Sink = std::function<void(QWidget *parent, const UlvexError &error)>;
void setSink(Sink sink);

} // namespace ErrorMessage
