// playlist_pdl_node: deleting and walking the trees of a statement without the call stack.
#include "playlist_pdl.h"
#include "vrel_memory.h"
#include "vrel_string.h"

namespace {

void free_node(PdlNode* node) {
  if (node->attribute != nullptr && node->context != nullptr) {
    playlist_provider_delete_context(node->attribute->provider, node->context);
  }
  vrel_string_free(node->text);
  vrel_memory_free(node);
}

// Takes one child off its parent: the left one while there is one.
PdlNode* take_child(PdlNode* node) {
  PdlNode** const place = node->left != nullptr ? &node->left : &node->right;
  PdlNode* const child = *place;
  *place = nullptr;
  return child;
}

}  // namespace

void playlist_pdl_node_delete(PdlNode* node) {
  if (node == nullptr) return;
  const PdlNode* const root = node;
  for (;;) {
    if (PdlNode* const child = take_child(node)) {
      node = child;
      continue;
    }
    PdlNode* const parent = node->parent;
    const bool done = node == root;
    free_node(node);
    if (done) return;
    node = parent;
  }
}

PdlNode* playlist_pdl_next_node(PdlNode* node, const PdlNode* root, bool descend) {
  if (descend && node->left != nullptr) return node->left;
  if (descend && node->right != nullptr) return node->right;
  for (; node != root; node = node->parent) {
    PdlNode* const parent = node->parent;
    if (node == parent->left && parent->right != nullptr) return parent->right;
  }
  return nullptr;
}
