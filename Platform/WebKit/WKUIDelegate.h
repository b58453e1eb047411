#pragma once

namespace Marblewick {

/*! Would show what a page asks for outside itself. Nothing of that is offered here: a page opens no windows
   of its own and no dialogs, and is granted no camera, microphone, place or notifications.
*/
class WKUIDelegate
{
public:
    virtual ~WKUIDelegate() = default;
};

} // namespace Marblewick
