// Messages to the configuration server, answered in this process from the configuration store.
// SPDX-License-Identifier: MIT
//
// An update request is the text of Cfg_GetContext() followed by `key="value"`. The key ends at the
// first `="`; the value is what stands between that and the quotation mark that ends the request,
// taken as it comes: nothing in it is decoded, further quotation marks belong to it. The reply's
// status is that of Cfg_SetAttrValue(), or CFG_INVALID for any other text; its AVP stays empty.
// Every message is taken for such a request, whatever numbers it carries; one without its
// terminator cannot be sent.
//
// The functions themselves are declared in platform/ipc.h.
#ifndef DEVICE_MESSAGES_H_
#define DEVICE_MESSAGES_H_

namespace platen {

// How often a reload of the template pools has been requested since the configuration was made: how
// often "services[templatePool].localUpdating" was set. 0 also when the configuration is
// unavailable.
long pool_generation();

}  // namespace platen

#endif  // DEVICE_MESSAGES_H_
