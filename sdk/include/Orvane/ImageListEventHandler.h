// Orvane::ImageListEventHandler: receives synchronised image sets, one image
// per stream of the camera (the sets GetNextImageSync returns).
//
// Registered on a camera with CameraBase::RegisterEventHandler; while one is
// registered, completed sets go to the handlers and not to GetNextImageSync.
//
// Thread: OnImageListEvent runs on the camera's delivery thread, once per
// set, with no SDK lock held, under the same rules as ImageEventHandler.
#ifndef ORVANE_IMAGE_LIST_EVENT_HANDLER_H
#define ORVANE_IMAGE_LIST_EVENT_HANDLER_H

#include "Orvane/EventHandler.h"
#include "Orvane/ImageList.h"

namespace Orvane {

class ORVANE_API ImageListEventHandler : public virtual EventHandler {
public:
    ImageListEventHandler();
    ~ImageListEventHandler() override;
    virtual void OnImageListEvent(ImageList imageList) = 0;
};

} // namespace Orvane

#endif
