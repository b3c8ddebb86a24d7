#pragma once
// The steps of the program's start that need no object of their own. Main thread, called by main
// in its order.

class QTranslator;

/// Makes our own image plug-ins known, which lie in a folder beside the installed or built
/// executable that no other program reads.
void addPrivatePluginPath();

/// Appends the executable's folder to PATH: commands of ours are found also where it is in no
/// session's PATH.
void makeOwnCommandsKnown();

/// Lets pages be drawn without OpenGL where there is none, for the first window would end the
/// process there, and where the processor alone stands behind it, for that costs more. Before the
/// first window.
void chooseRenderer();

/// Loads the translation of the system's language and installs it. A missing one is no error.
void installTranslation(QTranslator *translator);

/// SIGTERM, SIGINT and SIGHUP end the event loop.
void installSignalHandlers();

/// Ends the event loop with 0. Runs inside the signal, on whichever thread takes it.
void signalHandler(int signal);

/// Whether signalHandler() ran: QCoreApplication::exit() has no effect before the event loop
/// runs, so main asks once more when it does.
bool wasInterrupted();

/// Whether the first argument is "--hidden", as in the entry that starts the program with the
/// session: the window stays hidden until the tray, a second start or the clock's warning asks for
/// it. What is recorded and told is the same.
bool startsHidden();

/// Registers the records that cross threads in queued signals.
void registerMetaTypes();
