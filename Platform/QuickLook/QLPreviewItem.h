#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QUrl>

namespace Marblewick {

/*! What a QLPreviewView shows. Main thread. */
class MARBLEWICK_PANELS_EXPORT QLPreviewItem
{
public:
    virtual ~QLPreviewItem();

    /*! The local file to show; an empty URL where there is none. Asked whenever the view loads the item. */
    virtual QUrl previewItemURL() = 0;
};

} // namespace Marblewick
