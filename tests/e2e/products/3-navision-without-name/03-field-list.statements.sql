SELECT * FROM "Customer" WHERE (1=2)
