#pragma once

namespace nuv {

// Common base of the library's classes. Their memory comes from NUV_Manager and goes back there;
// a destructor never frees the object's own memory.
class NUV_Root {
public:
    virtual ~NUV_Root() = default;

    // The holder lets go of the object. False when something went wrong on the way, in which case
    // the reason has been raised. The object must not be touched afterwards.
    virtual bool end() = 0;

protected:
    NUV_Root() = default;
    NUV_Root(const NUV_Root&) = default;
    NUV_Root& operator=(const NUV_Root&) = default;
};

} // namespace nuv
