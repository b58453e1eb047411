#include "Platform/CommonCrypto/CryptoLibrary.h"

#include "Platform/Foundation/NSException.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/Plugin.h"

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

struct LoadedLibrary
{
    CryptoLibrary *library = nullptr;
    QString reason; ///< why there is none
};

LoadedLibrary *load()
{
    auto *const loaded = new LoadedLibrary{nullptr, u"The cryptographic library could not be set up."_s};
    const auto create = reinterpret_cast<MarblewickCreateCryptoLibrary>(
        resolveInPlugin("marblewick-crypto", marblewickCreateCryptoLibraryName, &loaded->reason));
    if (create)
        loaded->library = create();
    if (!loaded->library)
        NSLog(u"%@", {loaded->reason});
    return loaded;
}

const LoadedLibrary &loadedLibrary()
{
    static const LoadedLibrary *const loaded = load();
    return *loaded;
}

} // namespace

CryptoLibrary *cryptoLibrary() { return loadedLibrary().library; }

CryptoLibrary &requiredCryptoLibrary()
{
    if (CryptoLibrary *const library = cryptoLibrary())
        return *library;
    throw NSException(NSInternalInconsistencyException, loadedLibrary().reason);
}

} // namespace Marblewick
