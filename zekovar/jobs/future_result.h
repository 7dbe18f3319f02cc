#pragma once

#include "zekovar/jobs/cfuture.h"

namespace ZK
{
/// A future whose job yields a value of type `T`, by `set` before `done`. Safe from all threads.
///
/// The library holds the code for `String`.
template <class T>
class CFutureResult : public CInherit<CFutureResult<T>, CFuture, IFutureResult<T>>
{
public:
    using CInherit<CFutureResult<T>, CFuture, IFutureResult<T>>::CInherit;

    XCode waitForResult(T& result) override;
    void setResultObserver(Function<void(XCode, T)> observer) override;
    void set(T value) override;

    /// As `CFuture::done`; then calls the result observer.
    void done(XCode code) override;

private:
    T getResult() const
    {
        ZKAutoLock<ZKMutexPrivate> guard(this->getStateLock());
        return m_result;
    }

    Function<void(XCode, T)> m_resultObserver;
    T m_result{};
};

template <class T>
XCode CFutureResult<T>::waitForResult(T& result)
{
    XCode code = this->waitForCompletion();
    if (code.isSuccess())
        result = getResult();
    return code;
}

template <class T>
void CFutureResult<T>::setResultObserver(Function<void(XCode, T)> observer)
{
    if (this->exchangeUnlessCompleted(m_resultObserver, observer))
        return;
    if (observer)
        observer(this->getStatus(), getResult());
    this->exchange(m_resultObserver, observer);
}

template <class T>
void CFutureResult<T>::set(T value)
{
    ZKAutoLock<ZKMutexPrivate> guard(this->getStateLock());
    std::swap(m_result, value);
}

template <class T>
void CFutureResult<T>::done(XCode code)
{
    ZKPtr<IFuture> const self(this); // as in the base
    Function<void(XCode)> completionObserver(nullptr);
    Function<void(XCode, T)> resultObserver(nullptr);
    T result{};
    String const tag = this->reportEnd(code);
    {
        ZKAutoLock<ZKMutexPrivate> guard(this->getStateLock());
        completionObserver = this->settle(code, tag);
        resultObserver = m_resultObserver;
        if (resultObserver)
            result = m_result;
    }
    if (completionObserver)
        completionObserver(code);
    if (resultObserver)
        resultObserver(code, std::move(result));
}

extern template class CFutureResult<String>;
}
