/* The memory that the stubs of zel_add_idl use for arguments. */
#include <rpc.h>
#include <stdlib.h>

void* __RPC_USER MIDL_user_allocate(SIZE_T size) {
    return malloc(size);
}

void __RPC_USER MIDL_user_free(void* memory) {
    free(memory);
}
