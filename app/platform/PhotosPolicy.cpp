#include "PhotosPolicy.h"

namespace lorekeep::app {

PhotosAuthorization photosAuthorizationOf(long status) {
    switch (status) {
    case 0:
        return PhotosAuthorization::notDetermined;
    case 1:
        return PhotosAuthorization::restricted;
    case 3:
        return PhotosAuthorization::authorized;
    case 4:
        return PhotosAuthorization::limited;
    default:
        return PhotosAuthorization::denied;
    }
}

} // namespace lorekeep::app
