// Orvane::ImageEventHandler: receives every image of a camera's stream as it
// is completed, instead of the application calling GetNextImage.
//
// Registered on a camera with CameraBase::RegisterEventHandler (stream 0) or
// with the stream index. While at least one image handler is registered on a
// stream, its images go to the handlers and not to the GetNextImage queue.
//
// Thread: OnImageEvent runs on the camera's delivery thread (one per camera,
// running from BeginAcquisition to EndAcquisition), once per image, with no
// SDK lock held; handlers registered on one camera are called one after the
// other in registration order. Frames wait for the delivery thread as they
// wait for GetNextImage: in the order StreamBufferHandlingMode gives, the
// camera's buffers limiting how many. The image's buffer goes back to the
// stream when the last ImagePtr to it is dropped: a handler that keeps the
// image beyond the call keeps a stream buffer. The handler may read the
// image, convert or save it, read or write the camera's nodes and register or
// unregister handlers; EndAcquisition and DeInit of its camera raise
// ORVANE_ERR_INVALID_STATE there (they wait for the delivery thread).
#ifndef ORVANE_IMAGE_EVENT_HANDLER_H
#define ORVANE_IMAGE_EVENT_HANDLER_H

#include "Orvane/EventHandler.h"
#include "Orvane/Image.h"

namespace Orvane {

class ORVANE_API ImageEventHandler : public virtual EventHandler {
public:
    ImageEventHandler();
    ~ImageEventHandler() override;
    virtual void OnImageEvent(ImagePtr image) = 0;
};

} // namespace Orvane

#endif
