#pragma once
// A desktop for tests: owns org.vesk.KWin and org.vesk.ScreenSaver on the session bus and behaves
// or misbehaves on command. It lives on a thread and a bus connection of its own, so that a test
// may call it, and be served by it, while its main thread blocks. Owned by the test; every method
// may be called from any thread and has taken effect when it returns.

#include <QImage>
#include <QVariant>
#include <QVector>

#include <memory>

class FakeDesktop
{
public:
    enum Name { NoName = 0, WindowManager = 1, ScreenSaver = 2 };
    Q_DECLARE_FLAGS(Names, Name)

    /// What a screenshot call leads to. The call itself is answered at once, except ReplyError.
    enum class Screenshot {
        Normal,             ///< header and all pixels
        Silent,             ///< keeps the descriptor open, see closeSilent(), and writes nothing
        CloseAfter7Bytes,   ///< in the middle of the header
        CloseInsidePixels,  ///< header and half of the pixels
        CloseAfterMetadata, ///< header only
        BadFormat,          ///< setBadFormat() in the header, then the pixels
        Slow,               ///< setDelays()
        ReplyError          ///< answers with a D-Bus error and closes
    };

    struct ScreenshotCall {
        bool withoutPointer;
        int screen;
    };

    /// Takes @p names at once; see ownsNames(). The picture is at first 64x48, grey; the process
    /// id 0; every behaviour normal.
    explicit FakeDesktop(Names names = Names(WindowManager | ScreenSaver));
    ~FakeDesktop();
    Q_DISABLE_COPY(FakeDesktop)

    /// Takes and gives up names until exactly @p names are owned. False if the bus refused one;
    /// a name that somebody else owns is neither queued for nor replaced.
    bool setNames(Names names);
    Names ownsNames() const;

    void setImage(const QImage &image);
    void setScreenshot(Screenshot behaviour);
    void setBadFormat(int format); ///< value for BadFormat, 9999 at first
    /// For Slow: milliseconds before the first byte and before each eighth of the pixels; 200 and
    /// 20 at first.
    void setDelays(int first, int chunk);
    void closeSilent(); ///< closes every descriptor that Silent has kept

    void setActivePid(quint32 pid);
    void setActivePidReply(const QVariant &reply); ///< answers with a value of another type
    void setActivePidError(bool error);
    void setThresholdError(bool error);

    void emitScreenContentChanged(double rate);
    void emitLock();
    void emitUnlock();

    QVector<ScreenshotCall> screenshotCalls() const; ///< oldest first
    int screenshotsClosed() const;      ///< pipes closed after writing, by whichever behaviour
    QVector<double> thresholds() const; ///< one for each threshold call, refused ones too
    int activePidCalls() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FakeDesktop::Names)
Q_DECLARE_METATYPE(FakeDesktop::Screenshot)
Q_DECLARE_METATYPE(FakeDesktop::Names)
